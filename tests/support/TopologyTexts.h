#pragma once

#include <libQuarrow/topology/Topology.h>

#include <string>

namespace testing_support {

// Where each processor sits, in the order of numbers: package/die/complex/module/core/thread, "-" for what is not told.
inline std::string placesOf(const libQuarrow::topology::Topology& topology) {
    const auto text = [](const std::optional<std::uint32_t>& number) {
        return number ? std::to_string(*number) : std::string("-");
    };
    std::string places;
    for (const libQuarrow::topology::Processor& processor : topology.processors()) {
        places += (places.empty() ? "" : " ") + std::to_string(processor.package) + "/" + text(processor.die) + "/" +
                  text(processor.complex) + "/" + text(processor.module) + "/" + std::to_string(processor.core) + "/" +
                  std::to_string(processor.thread);
    }
    return places;
}

// "L1 data 32 K 8-way: 0-1 2-3".
inline std::string textOf(const libQuarrow::topology::Cache& cache) {
    std::string text = "L" + std::to_string(cache.figures.level) + " " + nameOf(cache.figures.type) + " " +
                       std::to_string(cache.figures.sizeBytes / 1024) + " K " +
                       (cache.figures.ways ? std::to_string(*cache.figures.ways) + "-way:" : "?-way:");
    if (!cache.sharedBy) {
        return text + " not told";
    }
    for (const libQuarrow::topology::ProcessorSet& sharers : *cache.sharedBy) {
        text += " " + sharers.toList();
    }
    return text;
}

} // namespace testing_support
