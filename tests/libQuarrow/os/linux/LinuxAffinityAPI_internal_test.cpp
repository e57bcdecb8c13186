#include <libQuarrow/os/linux/cpu/x86/LinuxAffinityAPI.h>

#include <libQuarrow/cpu/ScopedAffinity.h>
#include <tests/support/AffinityTexts.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <future>
#include <thread>

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
