#include <libQuarrow/os/linux/cpu/x86/LinuxAffinityAPI.h>

#include <libQuarrow/cpu/ScopedAffinity.h>
#include <tests/support/AffinityTexts.h>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <set>
#include <thread>

namespace {

// What the kernel below does otherwise than the one that the tests run on.
std::atomic<std::size_t> processorsOfKernel{0}; // it refuses shorter masks, as one for so many processors does
std::atomic<pid_t> refusedThread{0};            // it moves this one nowhere, as where its cpuset holds none of those

} // namespace

// The library's calls of the kernel come here.
extern "C" int sched_getaffinity(pid_t thread, std::size_t size, cpu_set_t* mask) noexcept {
    if (size * 8 < processorsOfKernel) {
        errno = EINVAL;
        return -1;
    }
    const long written = syscall(SYS_sched_getaffinity, thread, size, mask);
    if (written < 0) {
        return -1;
    }
    std::memset(reinterpret_cast<char*>(mask) + written, 0, size - static_cast<std::size_t>(written));
    return 0;
}
extern "C" int sched_setaffinity(pid_t thread, std::size_t size, const cpu_set_t* mask) noexcept {
    if (thread != 0 && thread == refusedThread) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(syscall(SYS_sched_setaffinity, thread, size, mask));
}

namespace libQuarrow::cpu {
namespace {

TEST(ProcessorSet, ReadsTheKernelsLists) {
    const std::pair<const char*, const char*> cases[] = {
        {"0\n", "0:1"},
        {"0-3,8,10-11", "0:d0f"},
        {"63-64", "0:8000000000000000 1:1"},
        {"0-127\n", "0:ffffffffffffffff 1:ffffffffffffffff"},
        {"5000,4194303", "78:100 65535:8000000000000000"},
    };
    for (const auto& [text, groups] : cases) {
        const auto processors = ProcessorSet::parseList(text);
        ASSERT_TRUE(processors) << text;
        EXPECT_EQ(brief(processors->groups()), groups) << text;
    }
    for (const char* text : {"", "\n", "4194304", "0-99999999999", "3-1", "1-", "1,", "-1", "0 1"}) {
        EXPECT_FALSE(ProcessorSet::parseList(text)) << text;
    }
    EXPECT_EQ(brief(ProcessorSet::first(65).groups()), "0:ffffffffffffffff 1:1");
}

// A thread that runs until the end of the scope, on the processors given to it at first.
class OtherThread {
  public:
    explicit OtherThread(const WinAffinity& own) {
        std::promise<pid_t> id;
        m_thread = std::thread([&own, &id, end = m_end.get_future()] {
            id.set_value(own.setThreadAffinity() ? gettid() : 0);
            end.wait();
        });
        m_id = id.get_future().get();
        EXPECT_NE(m_id, 0);
    }
    ~OtherThread() {
        m_end.set_value();
        m_thread.join();
    }
    pid_t id() const { return m_id; }
    // Whether it is on those processors.
    bool isOn(const WinAffinity& expected) const {
        ProcessorSet processors;
        return ProcessorSet::readFrom(m_id, processors) == 0 && processors.groups() == expected.groups();
    }

  private:
    std::promise<void> m_end;
    std::thread m_thread;
    pid_t m_id = 0;
};

TEST(ProcessAffinity, MovesEveryThreadAndPutsEachOnesOwnBack) {
    const WinAffinity allowed = WinAffinity::threadAffinity().value();
    const std::vector<WinAffinity> processors = allowed.split(WinAffinity::PerLogicalCpu);
    if (processors.size() < 2) {
        GTEST_SKIP() << "needs two processors";
    }
    const OtherThread free(allowed);
    const OtherThread pinned(processors[1]);
    {
        ScopedAffinity pin(processors[0], false);
        ASSERT_TRUE(pin.set());
        EXPECT_TRUE(free.isOn(processors[0]) && pinned.isOn(processors[0]));
        EXPECT_EQ(brief(WinAffinity::processAffinity()), brief(processors[0]));
        {
            ScopedAffinity inner(processors[1], false);
            ASSERT_TRUE(inner.set());
            EXPECT_TRUE(free.isOn(processors[1]));
        }
        EXPECT_TRUE(free.isOn(processors[0]));
        const OtherThread started(processors[0]);
        EXPECT_FALSE(pin.restore());
        EXPECT_TRUE(started.isOn(allowed));
    }
    EXPECT_TRUE(free.isOn(allowed) && pinned.isOn(processors[1]));
    // All or nobody.
    EXPECT_FALSE(WinAffinity({{60000, 1}}).setProcessAffinity() || WinAffinity().setProcessAffinity());
    EXPECT_TRUE(pinned.isOn(processors[1]));
    EXPECT_TRUE(WinAffinity(allowed.groups()).setProcessAffinity());
    EXPECT_TRUE(pinned.isOn(allowed));
    EXPECT_EQ(brief(WinAffinity::threadAffinity()), brief(allowed));
}

// Those of this process, as the test finds them itself.
std::string affinitiesOfAllThreads() {
    std::set<std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        ProcessorSet processors;
        if (ProcessorSet::readFrom(std::stoi(entry.path().filename()), processors) == 0) {
            all.insert(brief(processors.groups()));
        }
    }
    std::string text;
    for (const std::string& affinity : all) {
        text += affinity + ";";
    }
    return text;
}

// One thread of three cannot be moved there, or back.
TEST(ProcessAffinity, LeavesNobodyElsewhereBecauseOfOne) {
    const WinAffinity allowed = WinAffinity::threadAffinity().value();
    const std::vector<WinAffinity> processors = allowed.split(WinAffinity::PerLogicalCpu);
    if (processors.size() < 2) {
        GTEST_SKIP() << "needs two processors";
    }
    const OtherThread before(processors[1]), stubborn(allowed), after(processors[1]);
    for (const bool onTheWayBack : {false, true}) {
        ScopedAffinity pin(processors[0], false);
        refusedThread = onTheWayBack ? 0 : stubborn.id();
        EXPECT_EQ(pin.set(), onTheWayBack);
        refusedThread = stubborn.id();
        EXPECT_TRUE(pin.restore()) << "nothing to put back, or it failed";
        EXPECT_TRUE(before.isOn(processors[1]) && after.isOn(processors[1]));
        EXPECT_EQ(brief(WinAffinity::threadAffinity()), brief(allowed));
        refusedThread = 0;
    }
    EXPECT_TRUE(stubborn.isOn(allowed)) << "the end of the scope tried again";
}

TEST(ProcessAffinity, TellsOfEveryThreadAsItWasReadLast) {
    const WinAffinity allowed = WinAffinity::threadAffinity().value();
    const std::vector<WinAffinity> processors = allowed.split(WinAffinity::PerLogicalCpu);
    if (processors.size() < 2) {
        GTEST_SKIP() << "needs two processors";
    }
    LinuxAffinityAPI api;
    ScopedAffinity own(processors[0], true);
    ASSERT_TRUE(own.set());
    const OtherThread other(processors[1]);
    const WinAffinity both = processors[0] | processors[1];
    EXPECT_EQ(brief(api.processAffinity()), brief(both));
    EXPECT_TRUE(api.setProcessAffinity(processors[1]));
    EXPECT_EQ(brief(api.processAffinity()), brief(processors[1]));
    EXPECT_FALSE(own.restore());
    EXPECT_TRUE(api.setProcessAffinity(processors[1]));
    EXPECT_TRUE(other.isOn(processors[1]));
    EXPECT_EQ(brief(WinAffinity::threadAffinity()), brief(processors[1])) << "not what was read before that";
    EXPECT_TRUE(WinAffinity(allowed.groups()).setProcessAffinity());
}

// Threads that each start the next one and end, while the process is pinned and put back again and again.
TEST(ProcessAffinity, ReachesThreadsThatStartMeanwhile) {
    const WinAffinity allowed = WinAffinity::threadAffinity().value();
    const WinAffinity first = allowed.split(WinAffinity::PerLogicalCpu).front();
    std::atomic<bool> end{false};
    std::atomic<int> running{2};
    const std::function<void()> live = [&] {
        if (end) {
            --running;
        } else {
            std::thread(live).detach();
        }
    };
    std::thread(live).detach();
    std::thread(live).detach();
    const std::string on = brief(first) + ";", everywhere = brief(allowed) + ";";
    unsigned int refused = 0, elsewhere = 0;
    for (unsigned int i = 0; i < 300; ++i) {
        ScopedAffinity pin(first, false);
        refused += pin.set() ? 0 : 1;
        elsewhere += affinitiesOfAllThreads() == on ? 0 : 1;
        refused += pin.restore() ? 1 : 0;
        elsewhere += affinitiesOfAllThreads() == everywhere ? 0 : 1;
    }
    end = true;
    while (running > 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(refused, 0u);
    // One that is just being started takes the mask of before along, once in some ten thousand times.
    EXPECT_LE(elsewhere, 3u) << "of 600";
}

// In a PID namespace of its own, but with the process file system of the one around it: all listed threads are others'.
int processAffinityAmongStrangers() {
    if (unshare(CLONE_NEWPID) != 0) {
        return 77;
    }
    const pid_t child = fork();
    if (child == 0) {
        const WinAffinity own = WinAffinity::threadAffinity().value();
        const bool known = WinAffinity::processAffinity().has_value();
        _exit((known ? 1 : 0) | (own.setProcessAffinity() ? 2 : 0) | (own.setThreadAffinity() ? 0 : 4));
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

TEST(ProcessAffinity, IsNotSetWhereTheThreadsAreNotSeen) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(processAffinityAmongStrangers());
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WEXITSTATUS(status) == 77) {
        GTEST_SKIP() << "a PID namespace needs root";
    }
    EXPECT_EQ(WEXITSTATUS(status), 0) << "1: read, 2: set, 4: the thread's own not set";
}

TEST(ProcessorSet, GrowsWithTheKernel) {
    const std::string own = brief(WinAffinity::threadAffinity());
    processorsOfKernel = 5000;
    EXPECT_EQ(brief(WinAffinity::threadAffinity()), own);
    {
        ScopedAffinity pin(WinAffinity::threadAffinity()->split(WinAffinity::PerLogicalCpu).front(), true);
        EXPECT_TRUE(pin.set());
    }
    EXPECT_EQ(brief(WinAffinity::threadAffinity()), own);
    processorsOfKernel = 0;
}

// A container may show processors of its own counting: those that the thread may run on are there all the same.
TEST(LinuxAffinityAPI, KnowsWhatTheThreadMayRunOnWhateverTheSystemLists) {
    const std::string folder = testing::TempDir() + "quarrow_cpus_" + std::to_string(getpid());
    std::filesystem::create_directory(folder);
    const WinAffinity allowed = WinAffinity::threadAffinity().value();
    const WinAffinity last = allowed.split(WinAffinity::PerLogicalCpu).back();
    ScopedAffinity pin(last, true);
    ASSERT_TRUE(pin.set());
    LinuxAffinityAPI api(folder.c_str());
    EXPECT_GE(WinAffinity(api.systemAffinity().value()).logicalCpuCount(), sysconf(_SC_NPROCESSORS_ONLN)) << "no file";
    for (const char* online : {"0", "0-1", "0,70-71"}) {
        std::ofstream(folder + "/online") << online << std::endl;
        std::ofstream(folder + "/possible") << online << std::endl;
        const WinAffinity listed(ProcessorSet::parseList(online)->groups());
        EXPECT_EQ(brief(api.systemAffinity()), brief(listed | last));
    }
    std::filesystem::remove_all(folder);
}

TEST(LinuxAffinityAPI, LeavesOutWhatIsNotThere) {
    LinuxAffinityAPI api;
    const WinAffinity before(api.threadAffinity().value());
    EXPECT_TRUE(api.setThreadAffinity(before | WinAffinity({{60000, 1}})));
    EXPECT_EQ(brief(api.threadAffinity()), brief(before));
}

TEST(LinuxAffinityAPI, KnowsAllProcessorsFromEachOfThem) {
    const WinAffinity all = WinAffinity::systemAffinity().value();
    EXPECT_EQ(all.logicalCpuCount(), sysconf(_SC_NPROCESSORS_ONLN));
    for (const WinAffinity& processor : WinAffinity::threadAffinity()->split(WinAffinity::PerLogicalCpu)) {
        ScopedAffinity pin(processor, true);
        EXPECT_TRUE(pin.set());
        EXPECT_EQ(brief(WinAffinity::systemAffinity()), brief(all));
    }
}

} // namespace
} // namespace libQuarrow::cpu
