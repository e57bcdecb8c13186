#pragma once

#include <libKernelMode/DriverBackend.h>

#include <gtest/gtest.h>

// Ports of a machine with the bus's address and data port; every register has its own address for a value.
class FakePorts : public libKernelMode::DriverBackend {
  public:
    std::uint32_t address = 0x80001234;
    unsigned int accesses = 0;
    unsigned int failing = ~0u;     // the access that fails, from 0
    bool somebodyElseMoves = false; // the address, after the data is read
    bool absent = false;            // no function answers

    std::unique_ptr<libKernelMode::MsrAccess> openMsr(std::string&) override { return nullptr; }
    std::unique_ptr<libKernelMode::PortAccess> openPorts(std::string&) override {
        return std::make_unique<Access>(*this);
    }

  private:
    struct Access : libKernelMode::PortAccess {
        explicit Access(FakePorts& owner) : ports(owner) {}
        bool read(std::uint16_t port, std::uint32_t bytes, std::uint32_t& value) override {
            EXPECT_EQ(bytes, 4u);
            value = port == 0xCFC && ports.absent ? ~0u : ports.address;
            ports.address += port == 0xCFC && ports.somebodyElseMoves ? 4 : 0;
            return ports.accesses++ != ports.failing && (port == 0xCF8 || port == 0xCFC);
        }
        bool write(std::uint16_t port, std::uint32_t bytes, std::uint32_t value) override {
            EXPECT_EQ(bytes, 4u);
            ports.address = value;
            return ports.accesses++ != ports.failing && port == 0xCF8;
        }
        FakePorts& ports;
    };
};
