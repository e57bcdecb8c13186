#pragma once

#include <libQuarrow/cpu/WinAffinity.h>
#include <libQuarrow/os/Machine.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

// What an affinity backend answers, and what it was asked to do. Absent affinities cannot be read.
struct AffinityScript {
    using Groups = boost::optional<std::vector<libQuarrow::cpu::GroupAffinity>>;

    Groups system, process, thread;
    bool cpuGroups = false;
    bool noBackend = false;
    std::set<std::string> refused;  // texts of affinities that cannot be set
    std::vector<std::string> calls; // "thread <text>" and "process <text>" in the order they were set
    unsigned int backendsMade = 0;
};

// The native machine with a scripted affinity backend, current as long as it lives. Nothing is ever really pinned.
class ScriptedAffinityMachine final : public libQuarrow::os::Machine {
  public:
    AffinityScript script;

    libQuarrow::os::Instructions& instructions() override { return libQuarrow::os::nativeMachine().instructions(); }
    libQuarrow::os::Clock& clock() override { return libQuarrow::os::nativeMachine().clock(); }
    libKernelMode::DriverBackend& drivers() override { return libQuarrow::os::nativeMachine().drivers(); }
    std::shared_ptr<libQuarrow::cpu::AffinityAPI> createAffinityAPI() override {
        ++script.backendsMade;
        return script.noBackend ? nullptr : std::make_shared<Backend>(script);
    }

  private:
    class Backend final : public libQuarrow::cpu::AffinityAPI {
      public:
        explicit Backend(AffinityScript& script) : m_script(script) {}
        bool setProcessAffinity(const libQuarrow::cpu::WinAffinity& affinity) override {
            return set("process ", affinity, m_script.process);
        }
        bool setThreadAffinity(const libQuarrow::cpu::WinAffinity& affinity) override {
            return set("thread ", affinity, m_script.thread);
        }
        bool supportsCpuGroups() const override { return m_script.cpuGroups; }
        AffinityScript::Groups systemAffinity() override { return m_script.system; }
        AffinityScript::Groups processAffinity() override { return m_script.process; }
        AffinityScript::Groups threadAffinity() override { return m_script.thread; }

      private:
        bool set(const char* scope, const libQuarrow::cpu::WinAffinity& affinity, AffinityScript::Groups& current) {
            const std::string text = affinity.toString().toUtf8();
            m_script.calls.push_back(scope + text);
            if (m_script.refused.count(text) != 0) {
                return false;
            }
            current = affinity.groups();
            return true;
        }

        AffinityScript& m_script;
    };

    libQuarrow::os::ScopedMachine m_current{*this};
};
