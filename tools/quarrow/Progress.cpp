#include <tools/quarrow/Progress.h>

#include <tools/quarrow/os/Console.h>

#include <cstdio>
#include <string>

namespace quarrow {
namespace {

constexpr std::size_t barWidth = 30;
constexpr int lineWidth = 70; // of everything: blanks over it take it away

} // namespace

Progress::Progress(const char* doing, std::size_t steps)
    : m_doing(doing), m_steps(steps), m_visible(errorIsTerminal()) {
    draw();
}

Progress::~Progress() {
    if (m_visible) {
        std::fprintf(stderr, "\r%*s\r", lineWidth, "");
        std::fflush(stderr);
    }
}

void Progress::step() {
    ++m_done;
    draw();
}

void Progress::draw() const {
    if (!m_visible || m_steps == 0) {
        return;
    }
    const std::size_t filled = barWidth * m_done / m_steps;
    const std::string bar = std::string(filled, '#') + std::string(barWidth - filled, '.');
    std::fprintf(stderr, "\r%s [%s] %zu of %zu", m_doing, bar.c_str(), m_done, m_steps);
    std::fflush(stderr);
}

} // namespace quarrow
