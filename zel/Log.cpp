#include <zel/Log.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace zel {

namespace {

struct LogState {
    std::atomic<LogPriority> globalPriority{LogFailure};

    std::mutex channelsMutex;
    std::map<std::string, LogChannel, std::less<>> channels; // its nodes never move

    // Held while sinks are written to, so that writes come one at a time and none is under way once removeSink is back.
    // Recursive, since a sink may itself log or remove itself.
    std::recursive_mutex sinksMutex;
    std::vector<std::shared_ptr<LogSink>> sinks;
};

// Never destroyed: destructors of other statics may still log.
LogState& logState() {
    static LogState& state = *new LogState;
    return state;
}

} // namespace

LogSink::~LogSink() = default;

LogChannel::LogChannel(String name) : m_name(std::move(name)) {}

bool LogChannel::admits(LogPriority priority) const {
    return priority >= LogFactory::globalPriority() && priority >= m_priority;
}

void LogChannel::log(LogPriority priority, unsigned int line, const String& text) {
    if (!admits(priority)) {
        return;
    }
    LogState& state = logState();
    const std::lock_guard<std::recursive_mutex> lock(state.sinksMutex);
    if (state.sinks.empty()) {
        return;
    }
    const String numbered = String::SprintfFormat("%u ", line) + text;
    const std::vector<std::shared_ptr<LogSink>> sinks = state.sinks;
    for (const std::shared_ptr<LogSink>& sink : sinks) {
        sink->write(m_name, priority, numbered);
    }
}

LogChannel& LogFactory::channel(const char* name) {
    LogState& state = logState();
    const std::lock_guard<std::mutex> lock(state.channelsMutex);
    const auto found = state.channels.find(name);
    return found != state.channels.end() ? found->second : state.channels.try_emplace(name, name).first->second;
}

LogPriority LogFactory::globalPriority() {
    return logState().globalPriority;
}

void LogFactory::setGlobalPriority(LogPriority threshold) {
    logState().globalPriority = threshold;
}

void LogFactory::addSink(std::shared_ptr<LogSink> sink) {
    LogState& state = logState();
    const std::lock_guard<std::recursive_mutex> lock(state.sinksMutex);
    state.sinks.push_back(std::move(sink));
}

void LogFactory::removeSink(const std::shared_ptr<LogSink>& sink) {
    LogState& state = logState();
    const std::lock_guard<std::recursive_mutex> lock(state.sinksMutex);
    state.sinks.erase(std::remove(state.sinks.begin(), state.sinks.end(), sink), state.sinks.end());
}

TraceScope::TraceScope(LogChannel& channel, const char* function, const char* sourcePath, unsigned int line)
    : m_channel(channel.admits(LogTrace) ? &channel : nullptr), m_function(function), m_sourcePath(sourcePath),
      m_line(line) {
    if (m_channel != nullptr) {
        m_channel->log(LogTrace, m_line, String::SprintfFormat("Enter %s (%s)", m_function, m_sourcePath));
    }
}

TraceScope::~TraceScope() {
    if (m_channel == nullptr) {
        return;
    }
    try {
        m_channel->log(LogTrace, m_line, String::SprintfFormat("Leave %s (%s)", m_function, m_sourcePath));
    } catch (...) {
        // A sink that fails must not end the process from within a destructor.
    }
}

} // namespace zel
