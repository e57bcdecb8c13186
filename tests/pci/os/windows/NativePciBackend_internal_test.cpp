// Configuration space through the ports of a made-up driver.

#include <pci/PciBackend.h>
#include <tests/pci/FakePorts.h>

#include <gtest/gtest.h>

#include <optional>

namespace {

using namespace pci;

TEST(NativePciBackend, ReadsThroughThePortsOfTheDriver) {
    FakePorts ports;
    std::optional<libKernelMode::ScopedDriverBackend> scope(ports);
    std::string reason;
    std::uint32_t value = 7;
    const auto function = nativePciBackend().openFunction({0, 0x18, 3}, reason);
    ASSERT_NE(function, nullptr) << reason;
    EXPECT_TRUE(function->read(0xDC, value, reason) && value == 0x8000C3DC);
    EXPECT_FALSE(function->read(0x15C, value, reason));
    EXPECT_EQ(reason, "cannot read this PCI register: through the I/O ports only the first 256 bytes can be read");
    ports.failing = ports.accesses;
    EXPECT_FALSE(function->read(0xDC, value, reason));
    EXPECT_EQ(value, 0x8000C3DCu);
    ports.absent = true;
    EXPECT_EQ(nativePciBackend().openFunction({0, 0x18, 3}, reason), nullptr);
    EXPECT_EQ(reason, "there is no such PCI function");
    scope.reset();
    EXPECT_EQ(nativePciBackend().openFunction({0, 0x18, 3}, reason), nullptr);
    EXPECT_EQ(reason.find("cannot read PCI configuration space: cannot open the I/O ports"), 0u) << reason;
}

} // namespace
