#pragma once

#include <zel/Log.h>

#include <memory>
#include <string>
#include <vector>

namespace testing_support {

// Collects every message as "<priority> <channel>: <text>", without the line number, as long as it lives.
class LogCapture {
  public:
    explicit LogCapture(zel::LogPriority threshold = zel::LogTrace)
        : m_sink(std::make_shared<Sink>()), m_before(zel::LogFactory::globalPriority()) {
        zel::LogFactory::setGlobalPriority(threshold);
        zel::LogFactory::addSink(m_sink);
    }
    ~LogCapture() {
        zel::LogFactory::removeSink(m_sink);
        zel::LogFactory::setGlobalPriority(m_before);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<std::string>& messages() const { return m_sink->messages; }
    // The same with the line number: "4 channel: 149 text".
    const std::vector<std::string>& numberedMessages() const { return m_sink->numbered; }

  private:
    struct Sink : zel::LogSink {
        void write(const zel::String& channel, zel::LogPriority priority, const zel::String& text) override {
            const std::string origin = std::to_string(priority) + " " + channel.toUtf8() + ": ";
            messages.push_back(origin + text.subString(text.find(" ") + 1).toUtf8());
            numbered.push_back(origin + text.toUtf8());
        }
        std::vector<std::string> messages;
        std::vector<std::string> numbered;
    };

    std::shared_ptr<Sink> m_sink;
    zel::LogPriority m_before;
};

} // namespace testing_support
