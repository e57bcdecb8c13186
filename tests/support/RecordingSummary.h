#pragma once

#include <libQuarrow/recording/formats/RecordingParser.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

// What was read as one short text: "group:bit leaf.subleaf=eax ..., ...", MSRs as "msr=value". Else what was wrong.
inline std::string summary(const boost::optional<libQuarrow::os::Recording>& recording,
                           const libQuarrow::os::RecordingError& error) {
    if (!recording) {
        return error.message;
    }
    std::ostringstream out;
    for (const libQuarrow::os::RecordedProcessor& processor : recording->processors) {
        out << (out.tellp() == 0 ? "" : ", ") << std::hex << processor.group << ":" << unsigned{processor.bit};
        for (const auto& [where, registers] : processor.leaves) {
            out << " " << where.first << "." << where.second << "=" << registers.eax;
        }
        for (const auto& [msr, value] : processor.msrs) {
            out << " msr" << msr << "=" << value;
        }
    }
    if (recording->tscHertz) {
        out << std::dec << " tsc=" << *recording->tscHertz;
    }
    return out.str();
}

// Of each text that summary, or the message.
inline void expectSummaries(const std::vector<std::pair<std::string, std::string>>& cases) {
    for (const auto& [text, expected] : cases) {
        libQuarrow::os::RecordingError error;
        const auto recording = libQuarrow::os::parseRecording(text, "file", error);
        EXPECT_EQ(summary(recording, error), expected) << text.substr(0, 1000);
    }
}

} // namespace testing_support
