#include <libQuarrow/os/recorded/RecordedDrivers.h>

#include <algorithm>

namespace libQuarrow::os {
namespace {

using State = std::shared_ptr<RecordedMachineState>;

class RecordedMsrs : public libKernelMode::MsrAccess {
  public:
    explicit RecordedMsrs(State state) : m_state(std::move(state)) {}

    bool read(std::uint32_t msr, std::uint64_t& value) override {
        return access(msr, [&](const std::uint64_t& recorded) { value = recorded; });
    }
    bool write(std::uint32_t msr, std::uint64_t value) override {
        return access(msr, [&](std::uint64_t& recorded) { recorded = value; });
    }

  private:
    template <class Access>
    bool access(std::uint32_t msr, const Access& apply) {
        const std::lock_guard lock(m_state->writing);
        RecordedProcessor* here = m_state->processor();
        const auto found = here->msrs.find(msr);
        if (found == here->msrs.end() || m_state->faults.failingMsrs.count(msr) != 0) {
            return false;
        }
        apply(found->second);
        return true;
    }

    State m_state;
};

// Calls `apply` for each byte of the range, or for none when one of them is not in the recording.
template <class Address, class Apply>
bool forEachByte(std::map<Address, std::uint8_t>& bytes, Address address, std::uint32_t count, const Apply& apply) {
    const auto first = bytes.find(address);
    auto byte = first;
    for (std::uint32_t i = 0; i < count; ++i, ++byte) {
        if (byte == bytes.end() || byte->first != static_cast<Address>(address + i)) {
            return false;
        }
    }
    byte = first;
    for (std::uint32_t i = 0; i < count; ++i, ++byte) {
        apply(byte->second, i);
    }
    return true;
}

class RecordedMemory : public libKernelMode::MemoryAccess {
  public:
    explicit RecordedMemory(State state) : m_state(std::move(state)) {}

    bool read(std::uint64_t address, void* buffer, std::uint32_t size, std::uint32_t) override {
        const std::lock_guard lock(m_state->writing);
        auto* out = static_cast<std::uint8_t*>(buffer);
        return forEachByte(m_state->recording.memory, address, size,
                           [out](std::uint8_t& byte, std::uint32_t i) { out[i] = byte; });
    }
    bool write(std::uint64_t address, const void* buffer, std::uint32_t size, std::uint32_t) override {
        const std::lock_guard lock(m_state->writing);
        const auto* in = static_cast<const std::uint8_t*>(buffer);
        return forEachByte(m_state->recording.memory, address, size,
                           [in](std::uint8_t& byte, std::uint32_t i) { byte = in[i]; });
    }

  private:
    State m_state;
};

class RecordedPorts : public libKernelMode::PortAccess {
  public:
    explicit RecordedPorts(State state) : m_state(std::move(state)) {}

    bool read(std::uint16_t port, std::uint32_t widthBytes, std::uint32_t& value) override {
        const std::lock_guard lock(m_state->writing);
        std::uint32_t result = 0;
        if (!forEachByte(m_state->recording.ports, port, widthBytes,
                         [&](std::uint8_t& byte, std::uint32_t i) { result |= std::uint32_t{byte} << 8 * i; })) {
            return false;
        }
        value = result;
        return true;
    }
    bool write(std::uint16_t port, std::uint32_t widthBytes, std::uint32_t value) override {
        const std::lock_guard lock(m_state->writing);
        return forEachByte(m_state->recording.ports, port, widthBytes, [value](std::uint8_t& byte, std::uint32_t i) {
            byte = static_cast<std::uint8_t>(value >> 8 * i);
        });
    }

  private:
    State m_state;
};

template <class Access, class Recorded>
std::unique_ptr<Access> open(State state, bool isThere, const char* what, std::string& reason) {
    if (!isThere) {
        reason = std::string("this recording holds no ") + what + "; docs/recordings.md tells how to add some";
        return nullptr;
    }
    return std::make_unique<Recorded>(std::move(state));
}

bool anyMsr(const Recording& recording) {
    return std::any_of(recording.processors.begin(), recording.processors.end(),
                       [](const RecordedProcessor& processor) { return !processor.msrs.empty(); });
}

} // namespace

RecordedDrivers::RecordedDrivers(State state) : m_state(std::move(state)), m_holdsMsrs(anyMsr(m_state->recording)) {}

std::unique_ptr<libKernelMode::MsrAccess> RecordedDrivers::openMsr(std::string& reason) {
    return open<libKernelMode::MsrAccess, RecordedMsrs>(m_state, m_holdsMsrs && !m_state->faults.noMsrDriver, "MSRs",
                                                        reason);
}

std::unique_ptr<libKernelMode::MemoryAccess> RecordedDrivers::openMemory(std::string& reason) {
    return open<libKernelMode::MemoryAccess, RecordedMemory>(
        m_state, !m_state->recording.memory.empty() && !m_state->faults.noMemoryDriver, "memory", reason);
}

std::unique_ptr<libKernelMode::PortAccess> RecordedDrivers::openPorts(std::string& reason) {
    return open<libKernelMode::PortAccess, RecordedPorts>(
        m_state, !m_state->recording.ports.empty() && !m_state->faults.noPortDriver, "I/O ports", reason);
}

} // namespace libQuarrow::os
