#include <libQuarrow/os/linux/SystemFrequencyFiles.h>

#include <charconv>
#include <fcntl.h>
#include <unistd.h>

namespace libQuarrow::os {
namespace {

constexpr std::uint64_t hertzPerKilohertz = 1000;
constexpr std::uint64_t hertzPerMegahertz = 1'000'000;

// The number in the file, times `unit`. None where there is none above 0, or no frequency of a processor.
std::optional<std::uint64_t> readFrequency(const std::string& path, std::uint64_t unit) {
    constexpr std::uint64_t absurdHertz = 1'000'000'000'000;
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return std::nullopt;
    }
    char text[32];
    const ssize_t size = read(file, text, sizeof text);
    close(file);
    std::uint64_t number = 0;
    if (size <= 0 || std::from_chars(text, text + size, number).ec != std::errc() || number == 0 ||
        number > absurdHertz / unit) {
        return std::nullopt;
    }
    return number * unit;
}

} // namespace

SystemFrequencies readFrequencies(const std::string& folder) {
    const std::string cpufreq = folder + "/cpufreq/";
    SystemFrequencies frequencies;
    frequencies.lowestHertz = readFrequency(cpufreq + "cpuinfo_min_freq", hertzPerKilohertz);
    frequencies.baseHertz = readFrequency(cpufreq + "base_frequency", hertzPerKilohertz);
    frequencies.highestHertz = readFrequency(cpufreq + "cpuinfo_max_freq", hertzPerKilohertz);
    if (!frequencies.baseHertz) {
        frequencies.baseHertz = readFrequency(folder + "/acpi_cppc/nominal_freq", hertzPerMegahertz);
    }
    return frequencies;
}

} // namespace libQuarrow::os
