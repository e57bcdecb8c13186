#include <libKernelMode/MsrDriver.h>

#include <gtest/gtest.h>

#include <map>

namespace {

using namespace libKernelMode;

// MSRs that keep what is written. Unlike real ones they need no privileges and there are only those given.
class FakeBackend : public DriverBackend {
  public:
    std::unique_ptr<MsrAccess> openMsr(std::string& reason) override {
        if (!present) {
            reason = "cannot open the fake";
            return nullptr;
        }
        return std::make_unique<Access>(*this);
    }

    bool present = true;
    int opened = 0;
    std::map<std::uint32_t, std::uint64_t> msrs = {{0x10, 5}};

  private:
    struct Access : MsrAccess {
        explicit Access(FakeBackend& owner) : backend(owner) { ++backend.opened; }
        ~Access() override { --backend.opened; }
        bool read(std::uint32_t msr, std::uint64_t& value) override {
            value = backend.msrs.count(msr) != 0 ? backend.msrs[msr] : 0xDEAD; // garbage where it answers false
            return backend.msrs.count(msr) != 0;
        }
        bool write(std::uint32_t msr, std::uint64_t value) override {
            return backend.msrs.count(msr) != 0 && (backend.msrs[msr] = value, true);
        }
        FakeBackend& backend;
    };
};

class MsrDriverTest : public testing::Test {
  protected:
    MsrDriverTest() { setDriverBackend(&m_backend); }
    ~MsrDriverTest() override { setDriverBackend(nullptr); }
    FakeBackend m_backend;
};

TEST_F(MsrDriverTest, ReachesTheBackendOnlyWhileOpen) {
    std::uint64_t value = 1;
    {
        MsrDriver driver;
        EXPECT_FALSE(driver.readMsr(0x10, value));
        EXPECT_FALSE(driver.writeMsr(0x10, 9));
        ASSERT_TRUE(driver.openDriver());
        EXPECT_EQ(driver.failureReason(), "");
        EXPECT_TRUE(driver.writeMsr(0x10, 9));
        EXPECT_TRUE(driver.readMsr(0x10, value));
        EXPECT_EQ(value, 9u);
        EXPECT_FALSE(driver.readMsr(0x11, value));
        EXPECT_FALSE(driver.writeMsr(0x11, 1));
        EXPECT_EQ(value, 9u) << "a failed read must leave the value alone";
        EXPECT_EQ(m_backend.opened, 1);
    }
    EXPECT_EQ(m_backend.opened, 0);
}

TEST_F(MsrDriverTest, TellsWhyItCannotOpen) {
    MsrDriver driver;
    m_backend.present = false;
    EXPECT_FALSE(driver.openDriver());
    EXPECT_EQ(driver.failureReason(), "cannot open the fake");
    m_backend.present = true;
    EXPECT_TRUE(driver.openDriver());
    EXPECT_EQ(driver.failureReason(), "");
}

TEST_F(MsrDriverTest, UsesTheNativeBackendWithoutAnother) {
    EXPECT_EQ(setDriverBackend(nullptr), &m_backend);
    EXPECT_EQ(&currentDriverBackend(), &nativeDriverBackend());
    EXPECT_EQ(setDriverBackend(&m_backend), nullptr);
    EXPECT_EQ(&currentDriverBackend(), &m_backend);
}

// Whether there is a driver depends on where the test runs; that a failure is explained does not.
TEST(NativeMsrDriver, ExplainsItsFailure) {
    MsrDriver driver;
    const bool open = driver.openDriver();
    EXPECT_EQ(driver.failureReason().empty(), open);
    if (!open) {
        EXPECT_EQ(driver.failureReason().find("cannot "), 0u) << driver.failureReason();
        EXPECT_NE(driver.failureReason().find("; "), std::string::npos) << "no advice: " << driver.failureReason();
    }
}

} // namespace
