#include <pci/os/linux/SysfsFunction.h>

#include <zel/String.h>

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace pci {
namespace {

constexpr std::uint32_t bytesForEverybody = 64; // the kernel gives the header to all users, the rest to root

class SysfsFunction final : public ConfigAccess {
  public:
    SysfsFunction(int file, std::string path) : m_file(file), m_path(std::move(path)) {}
    ~SysfsFunction() override { ::close(m_file); }
    SysfsFunction(const SysfsFunction&) = delete;
    SysfsFunction& operator=(const SysfsFunction&) = delete;

    // The file has the bytes of the configuration space, lowest first as this processor has them. It ends early where
    // the reader may not see more.
    bool read(std::uint32_t offset, std::uint32_t& value, std::string& reason) override {
        std::uint32_t word = 0;
        const ssize_t count = ::pread(m_file, &word, sizeof word, off_t{offset});
        if (count == static_cast<ssize_t>(sizeof word)) {
            value = word;
            return true;
        }
        const char* const why = count < 0                    ? "the access failed"
                                : offset < bytesForEverybody ? "the file ends before it"
                                : ::geteuid() != 0 ? "beyond the first 64 bytes only root may read; try as root"
                                                   : "the system gives no access to it";
        reason = zel::String::SprintfFormat("cannot read register 0x%x of ", offset).toUtf8() + m_path + ": " + why;
        return false;
    }

  private:
    int m_file;
    std::string m_path;
};

} // namespace

std::unique_ptr<ConfigAccess> openSysfsFunction(const std::string& devices, const PciAddress& address,
                                                std::string& reason) {
    const std::string path =
        devices +
        zel::String::SprintfFormat("/0000:%02x:%02x.%x/config", address.bus, address.device, address.function).toUtf8();
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        const std::string why =
            errno == ENOENT ? "there is no such PCI function" : std::generic_category().message(errno);
        reason = "cannot open " + path + ": " + why;
        return nullptr;
    }
    return std::make_unique<SysfsFunction>(file, path);
}

} // namespace pci
