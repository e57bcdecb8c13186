#include <zel/Log.h>

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

namespace zel {

namespace {

class StandardErrorSink : public LogSink {
  public:
    StandardErrorSink() : m_logger("zel", std::make_shared<spdlog::sinks::stderr_sink_mt>()) {
        m_logger.set_pattern("%v"); // the whole line is ours
        m_logger.set_level(spdlog::level::trace);
        m_logger.flush_on(spdlog::level::trace);
    }

    void write(const String& channel, LogPriority priority, const String& text) override {
        const unsigned int number = priority;
        m_logger.log(spdlog::level::info, String::SprintfFormat("%u %s: %s", number, channel, text).toUtf8());
    }

  private:
    spdlog::logger m_logger;
};

} // namespace

std::shared_ptr<LogSink> LogFactory::standardErrorSink() {
    return std::make_shared<StandardErrorSink>();
}

} // namespace zel
