#include <libQuarrow/cpu/ScopedAffinity.h>
#include <libQuarrow/cpu/x86/x86_caches.h>
#include <libQuarrow/cpu/x86/x86_physical_cpus.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>
#include <unistd.h>

namespace libQuarrow::cpu {
namespace {

namespace fs = std::filesystem;

// A cpuset of its own that the calling thread is in, until the end of the scope. Version 1 of the control groups only:
// the later one moves whole processes.
class Cpuset {
  public:
    Cpuset() : m_folder(root / ("quarrow_test_" + std::to_string(getpid()))) {
        std::error_code error;
        m_valid = fs::exists(root / "tasks") && fs::create_directory(m_folder, error) &&
                  write(m_folder / "cpuset.mems", "0") && allow("0-1") && write(m_folder / "tasks", "0");
    }
    ~Cpuset() {
        write(root / "tasks", "0");
        std::error_code error;
        fs::remove(m_folder, error);
    }
    Cpuset(const Cpuset&) = delete;
    Cpuset& operator=(const Cpuset&) = delete;

    explicit operator bool() const { return m_valid; }
    bool allow(const char* processors) const { return write(m_folder / "cpuset.cpus", processors); }

  private:
    static bool write(const fs::path& path, const char* text) {
        std::ofstream file(path);
        return static_cast<bool>(file << text << std::flush);
    }
    const fs::path root = "/sys/fs/cgroup/cpuset";
    fs::path m_folder;
    bool m_valid;
};

void askForWhatIsGone() {
    const Cpuset cpuset;
    if (!cpuset) {
        GTEST_SKIP() << "no cpuset of two processors can be made here: control groups of version 1 and root are needed";
    }
    zel::Array<x86_cpu> cpus;
    ASSERT_TRUE(x86_cpu::findLogicalCpus(cpus, true));
    const x86_cpu gone = cpus[1];
    ASSERT_EQ(gone.getLogicalCpuNumber(), 1u);
    ASSERT_TRUE(cpuset.allow("0"));
    const AffinityMask left = AffinityMask::threadAffinityMask().value();

    unsigned int eax = 0;
    std::uint64_t value = 0;
    x86_caches caches;
    EXPECT_FALSE(gone.setThreadAffinity());
    EXPECT_FALSE(gone.callCPUID(0, &eax, nullptr, nullptr, nullptr));
    EXPECT_FALSE(gone.callRDTSC(value));
    EXPECT_FALSE(gone.callRDMSR(0x10, value));
    EXPECT_FALSE(gone.calculateSpeedTSC(value));
    EXPECT_FALSE(gone.getCaches(caches));
    EXPECT_TRUE(cpus[0].callCPUID(0, &eax, nullptr, nullptr, nullptr)) << "the other one is still there";
    x86_cpu asked = gone;
    asked.refresh();
    EXPECT_FALSE(asked.isValid());
    EXPECT_GE(x86_physical_cpus(true).getThreadCount(), 1u);
    EXPECT_TRUE(AffinityMask::threadAffinityMask() == left);

    ASSERT_TRUE(cpuset.allow("0-1"));
    EXPECT_TRUE(AffinityMask(cpus[0].getAffinityMask() | gone.getAffinityMask()).setThreadAffinity());
    EXPECT_TRUE(gone.callCPUID(0, &eax, nullptr, nullptr, nullptr)) << "it is back";
}

// A thread that was allowed all that its cpuset had is so afterwards, and not bound to the list of that time.
void followTheCpuset() {
    const Cpuset cpuset;
    if (!cpuset) {
        GTEST_SKIP() << "no cpuset of two processors can be made here: control groups of version 1 and root are needed";
    }
    const AffinityMask both = AffinityMask::threadAffinityMask().value();
    const AffinityMask second = both.maskPerLogicalCPU().at(1);
    for (const bool thread : {true, false}) {
        ASSERT_TRUE(cpuset.allow("1"));
        ASSERT_TRUE(AffinityMask::threadAffinityMask() == second);
        EXPECT_TRUE(ScopedAffinity(second, thread).set());
        ASSERT_TRUE(cpuset.allow("0-1"));
        EXPECT_TRUE(AffinityMask::threadAffinityMask() == both) << thread;
    }
    ASSERT_TRUE(second.setThreadAffinity());
    EXPECT_TRUE(ScopedAffinity(both, true).set());
    EXPECT_TRUE(AffinityMask::threadAffinityMask() == second) << "one with less than its cpuset keeps its own";
}

TEST(Cpuset, AThreadFollowsItAfterwards) {
    std::thread(followTheCpuset).join();
}

TEST(Cpuset, AProcessorTakenAwayAnswersNothingAndTheThreadStays) {
    std::thread(askForWhatIsGone).join(); // a thread of its own: no other test shall meet its cpuset
}

} // namespace
} // namespace libQuarrow::cpu
