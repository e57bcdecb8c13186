#include <tools/quarrow/Progress.h>

#include <tools/quarrow/os/Console.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace quarrow {
Progress::Progress(const char* doing, std::size_t steps)
    : m_doing(doing), m_steps(steps), m_visible(errorIsTerminal()) {
    draw();
}

Progress::~Progress() {
    if (m_visible) {
        std::fprintf(stderr, "\r%*s\r", static_cast<int>(m_drawn), "");
        std::fflush(stderr);
    }
}

void Progress::step() {
    reach(m_done + 1);
}

void Progress::reach(std::size_t done) {
    m_done = std::min(done, m_steps);
    if (m_steps != 0 && m_done * 1000 / m_steps != m_shown) { // writing to a terminal takes longer than many a step
        draw();
    }
}

void Progress::draw() {
    if (!m_visible || m_steps == 0) {
        return;
    }
    m_shown = m_done * 1000 / m_steps;
    constexpr std::size_t width = 30;
    const std::size_t filled = width * m_done / m_steps;
    const std::string text = m_doing + (" [" + std::string(filled, '#')) + std::string(width - filled, '.') + "] " +
                             std::to_string(m_done) + " of " + std::to_string(m_steps);
    std::fprintf(stderr, "\r%s", text.c_str());
    std::fflush(stderr);
    m_drawn = text.size();
}

} // namespace quarrow
