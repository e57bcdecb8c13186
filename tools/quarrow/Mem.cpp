#include <tools/quarrow/Access.h>
#include <tools/quarrow/Commands.h>
#include <tools/quarrow/Document.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Numbers.h>

#include <libKernelMode/MemDriver.h>

#include <algorithm>

namespace quarrow {

using libKernelMode::MemDriver;

namespace {

constexpr std::uint64_t longestBlock = 0x1000000;
constexpr std::size_t bytesPerRow = 16;

// A value as the processor stores it: the lowest byte first. Where it is aligned, it is moved by one access.
class Memory : public Place {
  public:
    Memory(MemDriver& driver, std::uint64_t address, std::uint64_t size) : m_driver(driver), m_address(address) {
        bytes = size;
        name = "physical memory at " + hexadecimal(address, 8) + " (" + std::to_string(8 * bytes) + " bits)";
        key = "memory";
        identity = {{"address", address}, {"size", size}};
    }

    bool read(std::uint64_t& value) override {
        value = 0;
        return m_driver.readPhysicalMemory(m_address, &value, static_cast<unsigned int>(bytes), MemDriver::AnyUnit);
    }
    bool write(std::uint64_t value) override {
        return m_driver.writePhysicalMemory(m_address, &value, static_cast<unsigned int>(bytes), MemDriver::AnyUnit);
    }

  private:
    MemDriver& m_driver;
    std::uint64_t m_address;
};

// "0x00000000000f0000: 5f 53 4d 5f" and what of it is text, to the right.
std::string row(std::uint64_t address, const std::uint8_t* bytes, std::size_t count) {
    std::string text = hexadecimal(address, 8) + ":";
    std::string characters;
    for (std::size_t i = 0; i < count; ++i) {
        text += " " + hexadecimal(bytes[i], 1).substr(2);
        characters += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
    }
    return text + std::string(3 * (bytesPerRow - count) + 2, ' ') + characters + "\n";
}

std::string readBlock(const Request& request, MemDriver& driver, std::uint64_t address, std::uint64_t length) {
    std::vector<std::uint8_t> bytes(length);
    if (!driver.readPhysicalMemory(address, bytes.data(), static_cast<unsigned int>(length), MemDriver::AnyUnit)) {
        throw Failure(Failure::CannotAnswer, "physical memory at " + hexadecimal(address, 8) + " (" +
                                                 std::to_string(length) +
                                                 " bytes) cannot be read: the access was refused");
    }
    if (request.json) {
        nlohmann::ordered_json document = emptyDocument(request);
        document["memory"] = {{"address", address}, {"bytes", bytes}};
        return documentText(document);
    }
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += bytesPerRow) {
        text += row(address + i, &bytes[i], std::min(bytesPerRow, bytes.size() - i));
    }
    return text;
}

} // namespace

std::string memCommand(const Request& request) {
    const auto length = numberOption(request, "length", longestBlock);
    const std::uint64_t size = numberOption(request, "size", 8).value_or(4);
    if (length && (request.options.count("size") != 0 || request.options.count("write") != 0)) {
        throw Failure(Failure::WrongInput, "--length reads a block; it goes neither with --size nor with --write");
    }
    if (length ? *length == 0 : size != 1 && size != 2 && size != 4 && size != 8) {
        throw Failure(Failure::WrongInput, length ? "--length must be 1 or more" : "--size must be 1, 2, 4 or 8 bytes");
    }
    const std::uint64_t address = numberOperand(request, "the address", UINT64_MAX - (length.value_or(size) - 1));
    numberOption(request, "write", maximumOf(size));
    MemDriver driver;
    if (!driver.openDriver()) {
        throw Failure(Failure::CannotAnswer, driver.failureReason());
    }
    if (length) {
        return readBlock(request, driver, address, *length);
    }
    Memory memory(driver, address, size);
    return access(request, memory);
}

} // namespace quarrow
