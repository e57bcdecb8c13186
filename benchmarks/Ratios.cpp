#include <benchmarks/Ratios.h>

#include <cstdio>
#include <vector>

namespace quarrow_bench {
namespace {

std::vector<Ratio>& ratios() {
    static std::vector<Ratio> all;
    return all;
}

} // namespace

void Results::add(const benchmark::BenchmarkReporter::Run& run) {
    if (run.run_type != benchmark::BenchmarkReporter::Run::RT_Iteration || run.error_occurred) {
        return;
    }
    const std::string& arguments = run.run_name.args;
    const std::string name = run.run_name.function_name + (arguments.empty() ? "" : "/" + arguments);
    const double nanoseconds = run.real_accumulated_time / static_cast<double>(run.iterations) * 1e9;
    const auto [best, isNew] = m_best.try_emplace(name);
    if (!isNew && best->second.nanoseconds <= nanoseconds) {
        return;
    }
    best->second.nanoseconds = nanoseconds;
    for (const auto& [counter, value] : run.counters) {
        best->second.counters[counter] = value;
    }
}

boost::optional<double> Results::nanoseconds(const std::string& name) const {
    const auto found = m_best.find(name);
    return found != m_best.end() ? boost::make_optional(found->second.nanoseconds) : boost::none;
}

boost::optional<double> Results::counter(const std::string& name, const std::string& counter) const {
    const auto found = m_best.find(name);
    if (found == m_best.end()) {
        return boost::none;
    }
    const auto value = found->second.counters.find(counter);
    return value != found->second.counters.end() ? boost::make_optional(value->second) : boost::none;
}

boost::optional<double> Results::nanosecondsPer(const std::string& name, const std::string& of) const {
    const auto time = nanoseconds(name);
    const auto count = counter(name, of);
    return time && count && *count != 0 ? boost::make_optional(*time / *count) : boost::none;
}

AddRatio::AddRatio(const char* text, const char* wanted, std::function<boost::optional<double>(const Results&)> value) {
    ratios().push_back({text, wanted, std::move(value)});
}

void printRatios(const Results& results) {
    std::printf("\n%-66s %10s  %s\n", "From the least disturbed repetition of each:", "measured", "wanted");
    for (const Ratio& ratio : ratios()) {
        if (const auto value = ratio.value(results)) {
            std::printf("%-66s %10.2f  %s\n", ratio.text.c_str(), *value, ratio.wanted.c_str());
        } else {
            std::printf("%-66s %10s  %s\n", ratio.text.c_str(), "-", ratio.wanted.c_str());
        }
    }
}

} // namespace quarrow_bench
