#include <libKernelMode/os/linux/MemoryDevice.h>

#include <libKernelMode/os/linux/Device.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/mman.h>
#include <unistd.h>

namespace libKernelMode {

namespace {

// The pages around a range of the device, mapped until the end of the scope.
class Mapping {
  public:
    Mapping(int file, std::uint64_t address, std::uint32_t size, int protection) {
        const std::uint64_t offset = address % static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
        const std::uint64_t start = address - offset;
        if (start > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max())) {
            return;
        }
        m_length = offset + size;
        m_pages = ::mmap(nullptr, m_length, protection, MAP_SHARED, file, static_cast<off_t>(start));
        if (m_pages != MAP_FAILED) {
            m_bytes = static_cast<volatile std::uint8_t*>(m_pages) + offset;
        }
    }
    ~Mapping() {
        if (m_bytes != nullptr) {
            ::munmap(m_pages, m_length);
        }
    }
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;

    // Null when the pages could not be mapped.
    volatile std::uint8_t* bytes() const { return m_bytes; }

  private:
    void* m_pages = MAP_FAILED;
    std::size_t m_length = 0;
    volatile std::uint8_t* m_bytes = nullptr;
};

template <class T>
void readAll(const volatile std::uint8_t* device, std::uint8_t* buffer, std::uint32_t size) {
    for (std::uint32_t i = 0; i < size; i += sizeof(T)) {
        const T value = *reinterpret_cast<const volatile T*>(device + i);
        std::memcpy(buffer + i, &value, sizeof(T));
    }
}

template <class T>
void writeAll(volatile std::uint8_t* device, const std::uint8_t* buffer, std::uint32_t size) {
    for (std::uint32_t i = 0; i < size; i += sizeof(T)) {
        T value = 0;
        std::memcpy(&value, buffer + i, sizeof(T));
        *reinterpret_cast<volatile T*>(device + i) = value;
    }
}

// A mapping begins with a page, so that a place in it is aligned as its physical address is.
std::uint32_t accessWidth(const volatile std::uint8_t* device, std::uint32_t size, std::uint32_t unitBytes) {
    if (unitBytes != 0) {
        return unitBytes;
    }
    for (const std::uint32_t width : {8u, 4u, 2u}) {
        if (reinterpret_cast<std::uintptr_t>(device) % width == 0 && size % width == 0) {
            return width;
        }
    }
    return 1;
}

class MemoryDevice : public MemoryAccess {
  public:
    MemoryDevice(int file, bool writable) : m_file(file), m_writable(writable) {}
    ~MemoryDevice() override { ::close(m_file); }
    MemoryDevice(const MemoryDevice&) = delete;
    MemoryDevice& operator=(const MemoryDevice&) = delete;

    bool read(std::uint64_t address, void* buffer, std::uint32_t size, std::uint32_t unitBytes) override {
        const Mapping mapping(m_file, address, size, PROT_READ);
        if (mapping.bytes() == nullptr) {
            return false;
        }
        readUnits(mapping.bytes(), buffer, size, unitBytes);
        return true;
    }

    bool write(std::uint64_t address, const void* buffer, std::uint32_t size, std::uint32_t unitBytes) override {
        if (!m_writable) {
            return false;
        }
        const Mapping mapping(m_file, address, size, PROT_READ | PROT_WRITE);
        if (mapping.bytes() == nullptr) {
            return false;
        }
        writeUnits(mapping.bytes(), buffer, size, unitBytes);
        return true;
    }

    bool isWritable() const override { return m_writable; }

  private:
    int m_file;
    bool m_writable;
};

} // namespace

void readUnits(const volatile std::uint8_t* device, void* buffer, std::uint32_t size, std::uint32_t unitBytes) {
    auto* const to = static_cast<std::uint8_t*>(buffer);
    switch (accessWidth(device, size, unitBytes)) {
    case 2:
        return readAll<std::uint16_t>(device, to, size);
    case 4:
        return readAll<std::uint32_t>(device, to, size);
    case 8:
        return readAll<std::uint64_t>(device, to, size);
    default:
        return readAll<std::uint8_t>(device, to, size);
    }
}

void writeUnits(volatile std::uint8_t* device, const void* buffer, std::uint32_t size, std::uint32_t unitBytes) {
    const auto* const from = static_cast<const std::uint8_t*>(buffer);
    switch (accessWidth(device, size, unitBytes)) {
    case 2:
        return writeAll<std::uint16_t>(device, from, size);
    case 4:
        return writeAll<std::uint32_t>(device, from, size);
    case 8:
        return writeAll<std::uint64_t>(device, from, size);
    default:
        return writeAll<std::uint8_t>(device, from, size);
    }
}

std::unique_ptr<MemoryAccess> openMemoryDevice(const std::string& device, std::string& reason) {
    bool writable = false;
    const int file = openDevice(device, O_SYNC, writable); // O_SYNC: the kernel maps device registers uncached
    if (file < 0) {
        const char* const denied = "permission denied; physical memory needs root and a kernel that is not locked down";
        const char* const absent = "no such device; physical memory needs a kernel with CONFIG_DEVMEM";
        reason = describeFailure(device, errno, {{EACCES, denied}, {EPERM, denied}, {ENOENT, absent}, {ENXIO, absent}});
        return nullptr;
    }
    return std::make_unique<MemoryDevice>(file, writable);
}

} // namespace libKernelMode
