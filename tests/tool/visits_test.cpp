#include "ToolRun.h"

#include <libQuarrow/os/recorded/RecordedMachine.h>
#include <libQuarrow/recording/formats/RecordingFile.h>
#include <tests/support/CountingMachine.h>
#include <tools/quarrow/classic/ClassicCommands.h>
#include <tools/quarrow/commands/Commands.h>
#include <tools/quarrow/picture/Picture.h>

#include <gtest/gtest.h>

namespace os = libQuarrow::os;

namespace {

void expectVisits(const os::Recording& recording, std::string (*command)(const quarrow::Request&),
                  const std::vector<std::string>& places) {
    for (const bool json : {false, true}) {
        os::RecordedMachine recorded(recording);
        CountingMachine counting(recorded);
        const os::ScopedMachine scope(counting);
        quarrow::Request request;
        request.json = json && command != quarrow::pictureCommand;
        request.threadAffinity = !json;
        EXPECT_NE(command(request), "");
        std::vector<std::string> expected;
        for (const std::string& place : places) {
            expected.push_back((json ? "process " : "thread ") + place);
        }
        EXPECT_EQ(counting.counts.affinitySets, expected);
    }
}

// To each processor and back, whatever a command asks of it.
TEST(Commands, VisitEachProcessorOnce) {
    os::RecordingError error;
    for (const char* name : {"intel-thermal.txt", "guest-epyc-2cpu-a10f11.txt"}) {
        const auto recording = os::readRecording(machine(name), error);
        ASSERT_TRUE(recording) << error.message;
        for (const auto command :
             {quarrow::classicTreeCommand, quarrow::classicCpusCommand, quarrow::classicFeaturesCommand,
              quarrow::classicCachesCommand, quarrow::classicLimitsCommand, quarrow::classicSpeedCommand}) {
            expectVisits(*recording, command, {"0:1", "0:3", "0:2", "0:3"});
        }
        // From one to the next, and back at the end.
        for (const auto command : {quarrow::summaryCommand, quarrow::treeCommand, quarrow::cpusCommand,
                                   quarrow::featuresCommand, quarrow::cachesCommand, quarrow::pictureCommand,
                                   quarrow::limitsCommand, quarrow::speedCommand, quarrow::leavesCommand}) {
            expectVisits(*recording, command, {"0:1", "0:2", "0:3"});
        }
    }
}

// A core in a frame of characters that every terminal has.
TEST(Picture, IsDrawnInAsciiToo) {
    quarrow::PictureBox core;
    core.title = "Core 0";
    core.threads = {"0"};
    core.caches = {{"L1d 32 KB", 1}};
    EXPECT_EQ(quarrow::drawText({core}, 40, quarrow::asciiLines), "+ Core 0 ---+\n"
                                                                  "| CPU 0     |\n"
                                                                  "| L1d 32 KB |\n"
                                                                  "+-----------+\n");
}

} // namespace
