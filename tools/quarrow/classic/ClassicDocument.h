#pragma once

#include <tools/quarrow/Document.h>
#include <tools/quarrow/classic/Processors.h>

#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_cpu.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <string>

// JSON document 1, as docs/json.md describes it. What is not known is null.

namespace quarrow {

// What a command adds to each element of "processors": asked, as all of it, while the thread is on that processor.
struct Section {
    std::function<void(const libQuarrow::cpu::x86_cpu& cpu, nlohmann::ordered_json& element)> add;
    const char* doing = nullptr; // what it does, where that takes its time
};

// Everything about the machine: all its processors and packages; or about the processors that the request's operands
// name, and then "packages" is null.
std::string classicDocument(const Request& request, const Section& section = {});

// Null for what stands for "not known": 0 where no such number can be, and the empty text.
nlohmann::ordered_json knownNumber(std::uint32_t number);
nlohmann::ordered_json knownText(const zel::String& text);

// A processor's number in the whole machine.
nlohmann::ordered_json logicalCpuNumberJson(const libQuarrow::cpu::x86_cpu& cpu);
// One element of "processors".
nlohmann::ordered_json processorJson(const libQuarrow::cpu::x86_cpu& cpu, const libQuarrow::cpu::x86_caches& caches);
// "caches" of a processor or a package.
nlohmann::ordered_json cachesJson(const libQuarrow::cpu::x86_caches& caches);

} // namespace quarrow
