#include <zel/Array.h>
#include <zel/Log.h>

#include "../support/LogCapture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <thread>

namespace {

using namespace zel;
using testing::ElementsAre;
using testing_support::LogCapture;

TEST(Log, EmitsWhatBothThresholdsAdmit) {
    LogChannel& channel = LogFactory::channel("test.thresholds");
    for (unsigned int i = 0; i < 64; ++i) {
        const auto global = static_cast<LogPriority>(1 + i % 4);
        const auto own = static_cast<LogPriority>(1 + i / 4 % 4);
        const auto priority = static_cast<LogPriority>(1 + i / 16);
        const LogCapture log(global);
        channel.setPriority(own);
        channel.log(priority, 1, "text");
        EXPECT_EQ(log.messages().size(), priority >= global && priority >= own ? 1u : 0u)
            << priority << " where " << global << " and " << own << " are admitted";
    }
}

TEST(Log, KeepsChannelsAndTakesMessagesFromSeveralThreads) {
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
    EXPECT_EQ(&LogFactory::channel("test.kept"), &LogFactory::channel(std::string("test.kept").c_str()));
}

TEST(Log, TracesEntryAndExit) {
    const LogCapture log;
    LogChannel& channel = LogFactory::channel("test");
    {
        const TraceScope scope(channel, "f()", "cpu/x86/x86_cpu", 33);
        channel.log(LogNotice, 34, "inside");
    }
    channel.setPriority(LogDiagnostic);
    { const TraceScope silent(channel, "g()", "cpu/x86/x86_cpu", 35); }
    EXPECT_THAT(log.numberedMessages(), ElementsAre("1 test: 33 Enter f() (cpu/x86/x86_cpu)", "3 test: 34 inside",
                                                    "1 test: 33 Leave f() (cpu/x86/x86_cpu)"));
}

TEST(Log, WritesToStandardErrorAsUtf8) {
    testing::internal::CaptureStderr();
    const auto sink = LogFactory::standardErrorSink();
    LogFactory::addSink(sink);
    LogFactory::channel("test.stderr").log(LogFailure, 12, String(u"{} %s \u2026"));
    LogFactory::removeSink(sink);
    LogFactory::channel("test.stderr").log(LogFailure, 13, "after its removal");
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
