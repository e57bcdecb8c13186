#include <libQuarrow/os/linux/cpu/x86/LinuxAffinityAPI.h>

#include <libQuarrow/cpu/WinAffinity.h>
#include <libQuarrow/os/linux/cpu/x86/ThreadList.h>

#include <cerrno>
#include <set>
#include <string>
#include <utility>

namespace libQuarrow::cpu {
namespace {

constexpr unsigned int mostPasses = 1000;
// A thread that is being started carries its parent's old mask on, and is listed a moment later. No call waits for it:
// a second look makes it rare that one is missed.
constexpr unsigned int quietPasses = 2;

// Calls `visit` once for every thread of this process until it answers false. Threads that start meanwhile are visited
// too: passes are made until the last ones were whole and met no thread for the first time. False when `visit` was,
// when the threads cannot be listed or the calling one is not among them, and when new ones never stop coming.
template <class Visit>
bool forEachThread(Visit visit) {
    std::set<pid_t> visited;
    unsigned int quiet = 0;
    for (unsigned int pass = 0; pass < mostPasses; ++pass) {
        const std::size_t before = visited.size();
        const ThreadList::Answer answer =
            ThreadList().forEach([&](pid_t thread) { return !visited.insert(thread).second || visit(thread); });
        if (answer == ThreadList::Failed) {
            return false;
        }
        quiet = answer == ThreadList::Whole && visited.size() == before ? quiet + 1 : 0;
        if (quiet == quietPasses) {
            return visited.count(gettid()) != 0;
        }
    }
    return false;
}

// A thread that ended meanwhile has no affinity that could be wrong.
bool doneOrEnded(int error) {
    return error == 0 || error == ESRCH;
}

} // namespace

bool LinuxAffinityAPI::setProcessAffinity(const WinAffinity& affinity) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_process != nullptr && m_process->whole.found().is(affinity.groups())) {
            return putBackProcess();
        }
    }
    // Puts back whom it was told of, also when memory runs out on the way.
    struct MovedThreads {
        ~MovedThreads() { putBack(threads); }
        ThreadAffinities threads;
    } moved;
    const ProcessorSet wanted(affinity.groups());
    const bool done = forEachThread([&](pid_t thread) {
        ThreadAffinity before;
        int error = before.readFrom(thread);
        if (error == 0) {
            moved.threads.emplace(thread, std::move(before)); // first: what it is moved back with must be there
            error = wanted.applyTo(thread);
        }
        return doneOrEnded(error);
    });
    if (done) {
        moved.threads.clear();
    }
    return done;
}

// As many threads as possible get theirs back: one that cannot is no reason to leave the others where they are.
bool LinuxAffinityAPI::putBack(ThreadAffinities& threads) noexcept {
    bool done = true;
    for (auto& [thread, own] : threads) {
        done = (!ThreadList::isOurs(thread) || doneOrEnded(own.putBack(thread))) && done;
    }
    return done;
}

bool LinuxAffinityAPI::putBackProcess() noexcept {
    Process& process = *m_process;
    bool done = putBack(process.threads);
    // Then those started since. Which ones were visited is not noted, as that takes memory: passes that move none are
    // the last.
    unsigned int quiet = 0;
    for (unsigned int pass = 0; pass < mostPasses; ++pass) {
        bool moved = false;
        const auto giveWhole = [&](pid_t thread) {
            if (process.threads.count(thread) == 0 && !process.whole.holds(thread)) {
                done = doneOrEnded(process.whole.putBack(thread)) && done;
                moved = moved || process.whole.holds(thread); // not in a narrower cpuset, which holds less for good
            }
            return true;
        };
        const ThreadList::Answer answer = ThreadList().forEach(giveWhole);
        if (answer == ThreadList::Failed) {
            return false;
        }
        quiet = answer == ThreadList::Whole && !moved ? quiet + 1 : 0;
        if (quiet == quietPasses) {
            return done;
        }
    }
    return false;
}

bool LinuxAffinityAPI::setThreadAffinity(const WinAffinity& affinity) {
    {
        const std::lock_guard lock(m_mutex);
        if (affinity && m_thread.found().is(affinity.groups())) {
            return m_thread.putBack(0) == 0;
        }
    }
    return ProcessorSet(affinity.groups()).applyTo(0) == 0;
}

bool LinuxAffinityAPI::supportsCpuGroups() const {
    return true;
}

// A list of processors that the kernel shows. None where it does not.
boost::optional<ProcessorSet> LinuxAffinityAPI::readList(const char* name) const {
    const int file = open((std::string(m_cpuFolder) + "/" + name).c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return boost::none;
    }
    char text[4096]; // no file of this kind is longer than a page
    const ssize_t size = read(file, text, sizeof text);
    close(file);
    return size > 0 ? ProcessorSet::parseList({text, static_cast<std::size_t>(size)}) : boost::none;
}

// Whether `own` is all that can ever come online. The kernel decides that when it starts.
bool LinuxAffinityAPI::mayRunEverywhere(const ProcessorSet& own) const {
    if (m_cpuFolder != systemCpuFolder) {
        const auto possible = readList("possible");
        return possible && own.is(possible->groups());
    }
    static const auto possible = readList("possible");
    static const auto groups = possible ? possible->groups() : std::vector<GroupAffinity>();
    return own.is(groups);
}

boost::optional<std::vector<GroupAffinity>> LinuxAffinityAPI::systemAffinity() {
    // Not kept: processors come and go. A thread may run on online ones only, so one that may run on all there can be
    // names them all, and takes a tenth of the time that the system's file does.
    ProcessorSet own;
    const bool readable = ProcessorSet::readFrom(0, own) == 0;
    if (readable && mayRunEverywhere(own)) {
        return own.groups();
    }
    auto processors = readList("online");
    if (!processors) {
        // Without the file they are taken to be numbered without gaps.
        const long count = sysconf(_SC_NPROCESSORS_ONLN);
        processors = ProcessorSet::first(static_cast<unsigned int>(count > 0 ? count : 0));
    }
    if (readable) {
        *processors |= own;
    }
    auto groups = processors->groups();
    return boost::make_optional(!groups.empty(), std::move(groups));
}

boost::optional<std::vector<GroupAffinity>> LinuxAffinityAPI::processAffinity() {
    ThreadAffinities threads;
    ProcessorSet all;
    const bool done = forEachThread([&](pid_t thread) {
        ThreadAffinity own;
        const int error = own.readFrom(thread);
        if (error == 0) {
            all |= own.found();
            threads.emplace(thread, std::move(own));
        }
        return doneOrEnded(error);
    });
    if (!done) {
        return boost::none;
    }
    auto process = std::make_unique<Process>(Process{std::move(threads), ThreadAffinity(std::move(all))});
    auto groups = process->whole.found().groups();
    const std::lock_guard lock(m_mutex);
    m_process = std::move(process);
    return groups;
}

boost::optional<std::vector<GroupAffinity>> LinuxAffinityAPI::threadAffinity() {
    ThreadAffinity own;
    if (own.readFrom(0) != 0) {
        return boost::none;
    }
    auto groups = own.found().groups();
    const std::lock_guard lock(m_mutex);
    m_thread = std::move(own);
    return groups;
}

} // namespace libQuarrow::cpu
