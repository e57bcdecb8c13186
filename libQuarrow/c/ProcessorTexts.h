#pragma once

#include <libQuarrow/topology/Topology.h>

#include <list>
#include <mutex>
#include <string>
#include <vector>

namespace libQuarrow::c {

// The texts of a machine's processors as C takes them, found when the first is asked for and kept. Any thread may ask.
class ProcessorTexts {
  public:
    struct Texts {
        std::string name;
        const char* microarchitecture = nullptr;
        const char* codename = nullptr;
        const char* process = nullptr;
        const char* revision = nullptr;
        const char* packageName = nullptr;
        const char* hypervisor = nullptr;
        const char* hypervisorName = nullptr;
    };

    // Of the processor at that index of the topology, which is the same one each time.
    const Texts& of(const topology::Topology& topology, std::size_t index);

  private:
    void find(const topology::Topology& topology);

    std::once_flag m_once;
    std::list<Texts> m_texts;                 // alike processors have one
    std::vector<const Texts*> m_ofProcessors; // by index
};

} // namespace libQuarrow::c
