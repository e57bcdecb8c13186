#include "ToolRun.h"

#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/recording/formats/RecordingFile.h>
#include <tests/support/CountingMachine.h>
#include <tools/quarrow/commands/Commands.h>

#include <gtest/gtest.h>

namespace os = libQuarrow::os;

namespace {

// To each processor and back, whatever a command asks of it.
TEST(Commands, VisitEachProcessorOnce) {
    os::RecordingError error;
    for (const char* name : {"intel-thermal.txt", "guest-epyc-2cpu-a10f11.txt"}) {
        const auto recording = os::readRecording(machine(name), error);
        ASSERT_TRUE(recording) << error.message;
        for (const auto command :
             {quarrow::treeCommand, quarrow::cpusCommand, quarrow::featuresCommand, quarrow::cachesCommand,
              quarrow::pictureCommand, quarrow::limitsCommand, quarrow::speedCommand}) {
            for (const bool json : {false, true}) {
                os::RecordedMachine recorded(*recording);
                CountingMachine counting(recorded);
                const os::ScopedMachine scope(counting);
                quarrow::Request request;
                request.json = json && command != quarrow::pictureCommand;
                request.threadAffinity = !json;
                EXPECT_NE(command(request), "");
                const std::string scopeOf = json ? "process " : "thread ";
                EXPECT_EQ(counting.counts.affinitySets, (std::vector<std::string>{scopeOf + "0:1", scopeOf + "0:3",
                                                                                  scopeOf + "0:2", scopeOf + "0:3"}))
                    << name;
            }
        }
    }
}

} // namespace
