#include <benchmarks/Ratios.h>

#include <string>
#include <vector>

namespace {

// Keeps every repetition and prints the middle one of each benchmark.
class Reporter : public benchmark::ConsoleReporter {
  public:
    explicit Reporter(quarrow_bench::Results& results) : ConsoleReporter(OO_None), m_results(results) {}
    void ReportRuns(const std::vector<Run>& runs) override {
        std::vector<Run> shown;
        for (const Run& run : runs) {
            m_results.add(run);
            if (run.aggregate_name == "median" || run.error_occurred) {
                shown.push_back(run);
            }
        }
        ConsoleReporter::ReportRuns(shown);
    }

  private:
    quarrow_bench::Results& m_results;
};

} // namespace

// Without arguments: many short repetitions of everything, in random order, so that a disturbance meets all alike.
int main(int count, char** arguments) {
    std::vector<std::string> words(arguments, arguments + count);
    words.insert(words.begin() + 1, {"--benchmark_min_time=0.002", "--benchmark_repetitions=500",
                                     "--benchmark_enable_random_interleaving"});
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    int size = static_cast<int>(pointers.size());
    benchmark::Initialize(&size, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(size, pointers.data())) {
        return 2;
    }
    quarrow_bench::Results results;
    Reporter reporter(results);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    quarrow_bench::printRatios(results);
    return 0;
}
