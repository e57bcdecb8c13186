#include <tools/quarrow/Document.h>
#include <tools/quarrow/Failure.h>
#include <tools/quarrow/Numbers.h>
#include <tools/quarrow/commands/Access.h>
#include <tools/quarrow/commands/Commands.h>

#include <libKernelMode/MemDriver.h>

#include <algorithm>

namespace quarrow {

using libKernelMode::MemDriver;

namespace {

constexpr std::uint64_t longestBlock = 0x1000000;
constexpr std::size_t bytesPerRow = 16;

// A value as the processor stores it: the lowest byte first. Where it is aligned, it is moved by one access.
Place memoryAt(MemDriver& driver, std::uint64_t address, std::uint64_t size) {
    const auto count = static_cast<unsigned int>(size);
    return {"physical memory at " + hexadecimal(address, 8) + " (" + std::to_string(8 * size) + " bits)",
            size,
            "memory",
            {{"address", address}, {"size", size}},
            [&driver, address, count](std::uint64_t& value) {
                return driver.readPhysicalMemory(address, &value, count, MemDriver::AnyUnit);
            },
            [&driver, address, count](std::uint64_t value) {
                return driver.writePhysicalMemory(address, &value, count, MemDriver::AnyUnit);
            },
            driver.isWritable()};
}

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
        failRefused(request, "physical memory at " + hexadecimal(address, 8) + " (" + std::to_string(length) +
                                 " bytes) cannot be read");
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
    const auto length = numberOption(request, "length", 1, longestBlock);
    const std::uint64_t size = sizeOption(request, 4, 8);
    if (length && (request.options.count("size") != 0 || request.options.count("write") != 0)) {
        throw Failure(Failure::WrongInput, "--length reads a block: leave it out, or --size and --write");
    }
    // The last byte must have an address too.
    const std::uint64_t most = UINT64_MAX - (length.value_or(size) - 1);
    const std::uint64_t address = numberIn(request.operands.at(0), "ADDRESS", 0, most);
    const auto toWrite = valueToWrite(request, size);
    MemDriver driver;
    if (!driver.openDriver()) {
        throw Failure(Failure::CannotAnswer, driver.failureReason());
    }
    return length ? readBlock(request, driver, address, *length)
                  : access(request, memoryAt(driver, address, size), toWrite);
}

} // namespace quarrow
