#include <zel/Array.h>
#include <zel/Log.h>

#include "../support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>

namespace {

using namespace zel;
using testing::ElementsAre;
using testing_support::LogCapture;

// The texts as they come, line numbers included.
struct TextSink : LogSink {
    void write(const String&, LogPriority, const String& text) override { texts.push_back(text.toUtf8()); }
    std::vector<std::string> texts;
};

TEST(Log, EmitsWhatBothThresholdsAdmit) {
    LogChannel& channel = LogFactory::channel("test.thresholds");
    for (unsigned int global = LogTrace; global <= LogFailure; ++global) {
        for (unsigned int own = LogTrace; own <= LogFailure; ++own) {
            for (unsigned int priority = LogTrace; priority <= LogFailure; ++priority) {
                const LogCapture log(static_cast<LogPriority>(global));
                channel.setPriority(static_cast<LogPriority>(own));
                channel.log(static_cast<LogPriority>(priority), 1, "text");
                EXPECT_EQ(log.messages().size(), priority >= global && priority >= own ? 1u : 0u)
                    << priority << " where " << global << " and " << own << " are admitted";
            }
        }
    }
    channel.setPriority(LogTrace);
}

TEST(Log, PutsTheLineNumberBeforeTheText) {
    const auto sink = std::make_shared<TextSink>();
    LogFactory::addSink(sink);
    LogFactory::channel("test.line").log(LogFailure, 149, String(u"50 % \u00B0"));
    LogFactory::removeSink(sink);
    LogFactory::channel("test.line").log(LogFailure, 150, "after its removal");
    EXPECT_THAT(sink->texts, ElementsAre("149 50 % \xC2\xB0"));
}

TEST(Log, KeepsChannels) {
    EXPECT_EQ(&LogFactory::channel("test.kept"), &LogFactory::channel(std::string("test.kept").c_str()));
    EXPECT_NE(&LogFactory::channel("test.kept"), &LogFactory::channel("test.other"));
    EXPECT_EQ(LogFactory::channel("test.kept").name(), "test.kept");
}

TEST(Log, TakesMessagesFromSeveralThreads) {
    const LogCapture log;
    const auto work = [] {
        for (int i = 0; i < 200; ++i) {
            LogFactory::channel(("test.threads" + std::to_string(i % 10)).c_str()).log(LogTrace, 1, "text");
        }
    };
    std::thread other(work);
    work();
    other.join();
    EXPECT_EQ(log.messages().size(), 400u);
}

TEST(Log, TracesEntryAndExit) {
    const auto sink = std::make_shared<TextSink>();
    const LogCapture log;
    LogFactory::addSink(sink);
    LogChannel& channel = LogFactory::channel("test.trace");
    {
        const TraceScope scope(channel, "f()", "cpu/x86/x86_cpu", 33);
        channel.log(LogNotice, 34, "inside");
    }
    channel.setPriority(LogDiagnostic);
    { const TraceScope silent(channel, "g()", "cpu/x86/x86_cpu", 35); }
    channel.setPriority(LogTrace);
    LogFactory::removeSink(sink);
    EXPECT_THAT(sink->texts,
                ElementsAre("33 Enter f() (cpu/x86/x86_cpu)", "34 inside", "33 Leave f() (cpu/x86/x86_cpu)"));
}

TEST(Log, WritesToStandardErrorAsUtf8) {
    testing::internal::CaptureStderr();
    const auto sink = LogFactory::standardErrorSink();
    LogFactory::addSink(sink);
    LogFactory::channel("test.stderr").log(LogFailure, 12, String(u"{} %s \u2026"));
    LogFactory::removeSink(sink);
    std::string written = testing::internal::GetCapturedStderr();
    written.erase(std::remove(written.begin(), written.end(), '\r'), written.end());
    EXPECT_EQ(written, "4 test.stderr: 12 {} %s \xE2\x80\xA6\n");
}

TEST(Assertion, IsLoggedAndThrown) {
    const LogCapture log;
    try {
        Array<int>{1, 2}[2] = 3;
        FAIL() << "an index past the end went through";
    } catch (const AssertionError& error) {
        EXPECT_EQ(error.expression(), "index < size()");
        EXPECT_EQ(error.sourcePath(), "zel/Array");
        EXPECT_THAT(log.messages(), ElementsAre(std::string("4 DEFECT.ASSERTION: ") + error.what()));
    }
}

} // namespace
