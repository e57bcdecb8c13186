// The files of sysfs: a folder of the same form stands in for them, and the machine's own are read where it has some.

#include <pci/os/linux/SysfsFunction.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

using namespace pci;

TEST(SysfsFunction, EndsWhereTheKernelLetsTheReaderNoFurther) {
    const std::string devices = testing::TempDir() + "quarrow-pci-" + std::to_string(::getpid());
    const std::string folder = devices + "/0000:0a:1f.7";
    std::filesystem::create_directories(folder);
    std::string bytes(64, '\0');
    bytes.replace(0, 4, "\x22\x10\x04\x16");
    std::ofstream(folder + "/config", std::ios::binary) << bytes;

    std::string reason;
    const auto function = openSysfsFunction(devices, {0x0A, 0x1F, 7}, reason);
    ASSERT_NE(function, nullptr) << reason;
    std::uint32_t value = 7;
    EXPECT_TRUE(function->read(0, value, reason));
    EXPECT_EQ(value, 0x16041022u);
    EXPECT_FALSE(function->read(0x15C, value, reason));
    EXPECT_EQ(value, 0x16041022u);
    EXPECT_EQ(reason, "cannot read register 0x15c of " + folder + "/config: " +
                          (::geteuid() != 0 ? "beyond the first 64 bytes only root may read; try as root"
                                            : "the system gives no access to it"));
    EXPECT_EQ(openSysfsFunction(devices, {0x0A, 0x1F, 6}, reason), nullptr);
    EXPECT_EQ(reason, "cannot open " + devices + "/0000:0a:1f.6/config: there is no such PCI function");
    std::filesystem::remove_all(devices);
}

TEST(SysfsFunction, ReadsTheMachinesOwn) {
    std::string reason;
    const auto bridge = nativePciBackend().openFunction({0, 0, 0}, reason);
    if (bridge == nullptr) {
        GTEST_SKIP() << reason;
    }
    std::uint32_t identity = 0;
    ASSERT_TRUE(bridge->read(0, identity, reason)) << reason;
    std::uint32_t vendor = 0;
    std::ifstream("/sys/bus/pci/devices/0000:00:00.0/vendor") >> std::hex >> vendor;
    EXPECT_EQ(identity & 0xFFFF, vendor);
}

} // namespace
