#include <libQuarrow/os/linux/cpu/x86/LinuxAffinityAPI.h>

#include <libQuarrow/cpu/WinAffinity.h>

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <set>
#include <unistd.h>

namespace libQuarrow::cpu {
namespace {

// The threads of this process. None when the process file system cannot be read.
boost::optional<std::vector<pid_t>> listThreads() {
    struct Close {
        void operator()(DIR* folder) const { closedir(folder); }
    };
    const std::unique_ptr<DIR, Close> folder(opendir("/proc/self/task"));
    if (folder == nullptr) {
        return boost::none;
    }
    std::vector<pid_t> threads;
    while (const dirent* entry = readdir(folder.get())) {
        if (const long id = std::strtol(entry->d_name, nullptr, 10); id > 0) {
            threads.push_back(static_cast<pid_t>(id));
        }
    }
    return threads;
}

// Calls `visit` once for every thread of this process until it answers false. Threads that start meanwhile are visited
// too: one more pass is made as long as the last one met a thread for the first time. False when `visit` was, when the
// threads cannot be listed, and when new ones never stop coming.
bool forEachThread(const std::function<bool(pid_t)>& visit) {
    constexpr unsigned int mostPasses = 1000;
    std::set<pid_t> visited;
    for (unsigned int pass = 0; pass < mostPasses; ++pass) {
        const auto threads = listThreads();
        if (!threads) {
            return false;
        }
        bool foundNew = false;
        for (const pid_t thread : *threads) {
            if (visited.insert(thread).second) {
                foundNew = true;
                if (!visit(thread)) {
                    return false;
                }
            }
        }
        if (!foundNew) {
            return true;
        }
    }
    return false;
}

// A thread that ended meanwhile has no affinity that could be wrong.
bool doneOrEnded(int error) {
    return error == 0 || error == ESRCH;
}

ProcessorSet all(const std::map<pid_t, ProcessorSet>& masks) {
    ProcessorSet processors;
    for (const auto& [thread, own] : masks) {
        processors |= own;
    }
    return processors;
}

// A list of processors that the kernel shows. None where it does not.
boost::optional<std::vector<GroupAffinity>> readList(const char* path) {
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return boost::none;
    }
    char text[4096]; // no file of this kind is longer than a page
    const ssize_t size = read(file, text, sizeof text);
    close(file);
    const auto processors = size > 0 ? ProcessorSet::parseList({text, static_cast<std::size_t>(size)}) : boost::none;
    return processors ? boost::make_optional(processors->groups()) : boost::none;
}

// The processors that can ever come online. The kernel decides that when it starts.
const boost::optional<std::vector<GroupAffinity>>& possible() {
    static const auto processors = readList("/sys/devices/system/cpu/possible");
    return processors;
}

} // namespace

bool LinuxAffinityAPI::setProcessAffinity(const WinAffinity& affinity) {
    const ProcessorSet wanted(affinity.groups());
    {
        const std::lock_guard lock(m_mutex);
        if (!m_lastRead.empty() && all(m_lastRead).groups() == affinity.groups()) {
            return putBack(m_lastRead, wanted);
        }
    }
    ThreadMasks moved;
    const bool done = forEachThread([&](pid_t thread) {
        ProcessorSet before;
        int error = ProcessorSet::readFrom(thread, before);
        if (error == 0) {
            error = wanted.applyTo(thread);
        }
        if (error == 0) {
            moved.emplace(thread, std::move(before));
        }
        return doneOrEnded(error);
    });
    if (!done) {
        for (const auto& [thread, before] : moved) {
            before.applyTo(thread);
        }
    }
    return done;
}

bool LinuxAffinityAPI::putBack(const ThreadMasks& masks, const ProcessorSet& others) const {
    bool done = true;
    const bool visitedAll = forEachThread([&](pid_t thread) {
        const auto own = masks.find(thread);
        // As many threads as possible get theirs back: one that cannot is no reason to leave the others where they are.
        done = doneOrEnded((own != masks.end() ? own->second : others).applyTo(thread)) && done;
        return true;
    });
    return visitedAll && done;
}

bool LinuxAffinityAPI::setThreadAffinity(const WinAffinity& affinity) {
    return ProcessorSet(affinity.groups()).applyTo(0) == 0;
}

bool LinuxAffinityAPI::supportsCpuGroups() const {
    return true;
}

boost::optional<std::vector<GroupAffinity>> LinuxAffinityAPI::systemAffinity() {
    // Not kept: processors come and go. A thread may run on online ones only, so one that may run on all there can be
    // names them all, and takes a tenth of the time that the system's file does.
    auto own = threadAffinity();
    if (own && own == possible()) {
        return own;
    }
    if (auto online = readList("/sys/devices/system/cpu/online")) {
        return online;
    }
    // Without the file they are taken to be numbered without gaps.
    const long count = sysconf(_SC_NPROCESSORS_ONLN);
    return count > 0 ? boost::make_optional(ProcessorSet::first(static_cast<unsigned int>(count)).groups())
                     : boost::none;
}

boost::optional<std::vector<GroupAffinity>> LinuxAffinityAPI::processAffinity() {
    ThreadMasks masks;
    const bool done = forEachThread([&masks](pid_t thread) {
        ProcessorSet processors;
        const int error = ProcessorSet::readFrom(thread, processors);
        if (error == 0) {
            masks.emplace(thread, std::move(processors));
        }
        return doneOrEnded(error);
    });
    if (!done || masks.empty()) {
        return boost::none;
    }
    const std::lock_guard lock(m_mutex);
    m_lastRead = std::move(masks);
    return all(m_lastRead).groups();
}

boost::optional<std::vector<GroupAffinity>> LinuxAffinityAPI::threadAffinity() {
    ProcessorSet processors;
    if (ProcessorSet::readFrom(0, processors) != 0) {
        return boost::none;
    }
    return processors.groups();
}

} // namespace libQuarrow::cpu
