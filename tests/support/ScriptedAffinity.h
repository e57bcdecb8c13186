#pragma once

#include <libQuarrow/cpu/AffinityMask.h>
#include <libQuarrow/os/Machine.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

using AffinityGroups = boost::optional<std::vector<libQuarrow::cpu::GroupAffinity>>;

// An affinity in few characters, the masks hexadecimal and the groups as they stand: "0:ff 1:3"; "none" when absent.
inline std::string brief(const AffinityGroups& groups) {
    zel::Array<zel::String> pieces;
    for (const auto& entry : groups.value_or(AffinityGroups::value_type())) {
        pieces.append(zel::String::SprintfFormat("%u:%I64x", entry.group, entry.mask));
    }
    return groups ? zel::String::join(pieces, " ").toUtf8() : "none";
}
inline std::string brief(const libQuarrow::cpu::WinAffinity& affinity) {
    return brief(affinity.groups());
}
inline std::string brief(const libQuarrow::cpu::AffinityMask& mask) {
    return brief(mask.getAffinityData());
}
template <class T>
std::string brief(const boost::optional<T>& affinity) {
    return affinity ? brief(*affinity) : "none";
}

// The native machine with an affinity backend that answers and does what a test says, current as long as it lives.
// Nothing is ever really pinned.
class ScriptedAffinityMachine final : public libQuarrow::os::Machine {
  public:
    AffinityGroups system, process, thread; // absent: cannot be read
    bool cpuGroups = false;
    bool noBackend = false;
    std::set<std::string> refused;  // what cannot be set, as brief() writes it
    std::vector<std::string> calls; // what was set: "thread 0:1", "process 0:f"
    unsigned int backendsMade = 0;

    libQuarrow::os::Instructions& instructions() override { return libQuarrow::os::nativeMachine().instructions(); }
    libQuarrow::os::Clock& clock() override { return libQuarrow::os::nativeMachine().clock(); }
    libKernelMode::DriverBackend& drivers() override { return libQuarrow::os::nativeMachine().drivers(); }
    std::shared_ptr<libQuarrow::cpu::AffinityAPI> createAffinityAPI() override {
        ++backendsMade;
        return noBackend ? nullptr : std::make_shared<Backend>(*this);
    }

  private:
    using WinAffinity = libQuarrow::cpu::WinAffinity;

    class Backend final : public libQuarrow::cpu::AffinityAPI {
      public:
        explicit Backend(ScriptedAffinityMachine& script) : m_script(script) {}
        bool setProcessAffinity(const WinAffinity& wanted) override {
            return set("process ", wanted, m_script.process);
        }
        bool setThreadAffinity(const WinAffinity& wanted) override { return set("thread ", wanted, m_script.thread); }
        bool supportsCpuGroups() const override { return m_script.cpuGroups; }
        AffinityGroups systemAffinity() override { return m_script.system; }
        AffinityGroups processAffinity() override { return m_script.process; }
        AffinityGroups threadAffinity() override { return m_script.thread; }

      private:
        bool set(const char* scope, const WinAffinity& wanted, AffinityGroups& current) {
            m_script.calls.push_back(scope + brief(wanted));
            const bool allowed = m_script.refused.count(brief(wanted)) == 0;
            if (allowed) {
                current = wanted.groups();
            }
            return allowed;
        }

        ScriptedAffinityMachine& m_script;
    };

    libQuarrow::os::ScopedMachine m_current{*this};
};
