#include <libQuarrow/os/linux/SystemFrequencyFiles.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

using libQuarrow::os::readFrequencies;
using libQuarrow::os::SystemFrequencies;

namespace {

TEST(SystemFrequencyFiles, AreReadInTheirUnits) {
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "quarrow-frequencies";
    std::filesystem::remove_all(folder);
    EXPECT_FALSE(readFrequencies(folder.string()).tellsAny()) << "no folder";
    const auto write = [&folder](const char* file, const char* text) {
        std::filesystem::create_directories((folder / file).parent_path());
        std::ofstream(folder / file) << text;
    };
    write("cpufreq/cpuinfo_min_freq", "400000\n");
    write("cpufreq/cpuinfo_max_freq", "5100000\n");
    write("acpi_cppc/nominal_freq", "2500\n"); // in MHz
    EXPECT_EQ(readFrequencies(folder.string()), (SystemFrequencies{400'000'000, 2'500'000'000, 5'100'000'000}));
    write("cpufreq/base_frequency", "1800000\n");
    EXPECT_EQ(readFrequencies(folder.string()).baseHertz, 1'800'000'000U);
    for (const char* none : {"0\n", "<unknown>\n", "", "18446744073709551615\n", "99999999999999999999\n"}) {
        write("cpufreq/cpuinfo_max_freq", none);
        EXPECT_FALSE(readFrequencies(folder.string()).highestHertz) << none;
    }
    std::filesystem::remove_all(folder);
}

} // namespace
