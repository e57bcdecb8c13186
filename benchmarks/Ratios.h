#pragma once

#include <boost/optional.hpp>

#include <benchmark/benchmark.h>

#include <functional>
#include <map>
#include <string>

// What is made of the times of one run: "the tree costs so many times its floor".

namespace quarrow_bench {

// The least disturbed repetition of each benchmark. A repetition is an average over many executions, so the least one
// is no lucky moment, and on a machine that has other work it is the one that tells most about the code.
class Results {
  public:
    void add(const benchmark::BenchmarkReporter::Run& run);

    // Of one execution; none where the benchmark did not run.
    boost::optional<double> nanoseconds(const std::string& name) const;
    // What the benchmark counted; the same divided by it.
    boost::optional<double> counter(const std::string& name, const std::string& counter) const;
    boost::optional<double> nanosecondsPer(const std::string& name, const std::string& counter) const;

  private:
    struct Best {
        double nanoseconds;
        std::map<std::string, double> counters;
    };
    std::map<std::string, Best> m_best; // by name
};

// One line below the times. `wanted` is the bound, with its sign: "<= 1.15"; empty where there is none.
struct Ratio {
    std::string text;
    std::string wanted;
    std::function<boost::optional<double>(const Results&)> value;
};

// Adds a line. Each benchmark file does that for its own, before main.
struct AddRatio {
    AddRatio(const char* text, const char* wanted, std::function<boost::optional<double>(const Results&)> value);
};

void printRatios(const Results& results);

} // namespace quarrow_bench
