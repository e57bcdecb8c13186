#pragma once

#include <zel/String.h>
#include <zel/zel_export.h>

#include <atomic>
#include <memory>

namespace zel {

// How important a message is. A threshold of n admits messages of priority n and above.
enum LogPriority : unsigned int {
    LogTrace = 1,      // traces and reports
    LogDiagnostic = 2, // diagnostic reports
    LogNotice = 3,     // notices
    LogFailure = 4,    // failures and misuse
};

// Where messages go. write is called by whichever thread logs, one call at a time.
class ZEL_EXPORT LogSink {
  public:
    virtual ~LogSink();
    // `text` begins with the source line number and a blank ("149 ").
    virtual void write(const String& channel, LogPriority priority, const String& text) = 0;
};

// One named channel. Channels are made by LogFactory on first use and live until the process ends.
class ZEL_EXPORT LogChannel {
  public:
    explicit LogChannel(String name);
    LogChannel(const LogChannel&) = delete;
    LogChannel& operator=(const LogChannel&) = delete;

    const String& name() const { return m_name; }
    // The channel's own threshold; 1 (everything) until it is set.
    LogPriority priority() const { return m_priority; }
    void setPriority(LogPriority threshold) { m_priority = threshold; }

    // Whether the global threshold and this channel's threshold both admit `priority`.
    bool admits(LogPriority priority) const;
    // Gives "<line> <text>" to every sink when `priority` is admitted.
    void log(LogPriority priority, unsigned int line, const String& text);

  private:
    String m_name;
    std::atomic<LogPriority> m_priority{LogTrace};
};

// Makes the channels and holds what they share. All members may be called from any thread.
class ZEL_EXPORT LogFactory {
  public:
    static LogChannel& channel(const char* name);

    // The global threshold; LogFailure until it is set.
    static LogPriority globalPriority();
    static void setGlobalPriority(LogPriority threshold);

    // Without a sink nothing is written. A sink stays until it is removed.
    static void addSink(std::shared_ptr<LogSink> sink);
    static void removeSink(const std::shared_ptr<LogSink>& sink);
    // A sink that writes "<priority> <channel>: <text>" to standard error as UTF-8.
    static std::shared_ptr<LogSink> standardErrorSink();
};

// Logs the entry into and the exit from a function at priority 1, when that is admitted on entry.
class ZEL_EXPORT TraceScope {
  public:
    TraceScope(LogChannel& channel, const char* function, const char* sourcePath, unsigned int line);
    ~TraceScope();
    TraceScope(const TraceScope&) = delete;
    TraceScope& operator=(const TraceScope&) = delete;

  private:
    LogChannel* m_channel; // null when not admitted
    const char* m_function;
    const char* m_sourcePath;
    unsigned int m_line;
};

} // namespace zel
