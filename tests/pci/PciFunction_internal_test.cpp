// Configuration space through a made-up backend and made-up I/O ports; neither needs privileges.

#include <libKernelMode/IoDriver.h>
#include <pci/ConfigPorts.h>
#include <pci/PciFunction.h>
#include <tests/pci/FakePorts.h>

#include <gtest/gtest.h>

namespace {

using namespace pci;

// One function, 00:18.4, which refuses its register 0x80.
class FakeBackend : public PciBackend {
  public:
    int opened = 0;

    std::unique_ptr<ConfigAccess> openFunction(const PciAddress& address, std::string& reason) override {
        if (address.number() != 0xC4) {
            reason = "no such function";
            return nullptr;
        }
        return std::make_unique<Access>(*this);
    }

  private:
    struct Access : ConfigAccess {
        explicit Access(FakeBackend& owner) : backend(owner) { ++backend.opened; }
        ~Access() override { --backend.opened; }
        bool read(std::uint32_t offset, std::uint32_t& value, std::string& reason) override {
            value = 0x10000 + offset;
            reason = offset == 0x80 ? "refused" : "";
            return offset != 0x80;
        }
        FakeBackend& backend;
    };
};

TEST(PciFunction, ReadsThroughTheBackendThatIsSet) {
    FakeBackend backend;
    {
        const ScopedPciBackend inItsPlace(backend);
        const struct {
            PciAddress address;
            std::uint32_t offset;
            std::uint32_t value; // 7: not read
            const char* reason;
        } cases[] = {
            {{0, 0x18, 4}, 0, 0x10000, ""},
            {{0, 0x18, 4}, 0xFFC, 0x10FFC, ""},
            {{0, 0x18, 4}, 0x80, 7, "refused"},
            {{0, 0x18, 4}, 2, 7, "no such PCI register: offsets are multiples of 4 below 0x1000"},
            {{0, 0x18, 4}, 0x1000, 7, "no such PCI register: offsets are multiples of 4 below 0x1000"},
            {{1, 0x18, 4}, 0, 7, "the PCI function is not open"},
            {{0, 0x38, 4}, 0, 7, "the PCI function is not open"},
            {{0, 0x18, 12}, 0, 7, "the PCI function is not open"},
        };
        for (const auto& row : cases) {
            PciFunction function(row.address);
            std::uint32_t value = 7;
            EXPECT_FALSE(function.readRegister(row.offset, value)) << "before it is open";
            const bool isOpen = function.openFunction();
            EXPECT_EQ(function.failureReason().empty(), isOpen);
            EXPECT_EQ(function.readRegister(row.offset, value), row.value != 7);
            EXPECT_EQ(value, row.value);
            EXPECT_EQ(function.failureReason(), row.reason);
        }
        EXPECT_EQ(backend.opened, 0);
    }
    EXPECT_EQ(&currentPciBackend(), &nativePciBackend());
}

TEST(ConfigPorts, AddressOneRegisterAndLeaveTheAddressAsItWas) {
    const struct {
        std::uint32_t offset;
        unsigned int failing;
        bool somebodyElseMoves;
        std::uint32_t value; // 7: not read
    } cases[] = {{0xDC, ~0u, false, 0x8002C3DC},
                 {0xFC, ~0u, false, 0x8002C3FC},
                 {0x100, ~0u, false, 7},
                 {0xDC, ~0u, true, 7},
                 {0xDC, 0, false, 7},
                 {0xDC, 1, false, 7},
                 {0xDC, 2, false, 7},
                 {0xDC, 3, false, 7},
                 {0xDC, 4, false, 7}};
    for (const auto& row : cases) {
        FakePorts backend;
        backend.failing = row.failing;
        backend.somebodyElseMoves = row.somebodyElseMoves;
        const libKernelMode::ScopedDriverBackend scope(backend);
        libKernelMode::IoDriver ports;
        ASSERT_TRUE(ports.openDriver());
        std::uint32_t value = 7;
        EXPECT_EQ(readThroughPorts(ports, {2, 0x18, 3}, row.offset, value), row.value != 7);
        EXPECT_EQ(value, row.value);
        EXPECT_TRUE(backend.address == 0x80001234 || row.failing == 1);
    }
}

} // namespace
