// Each format that is told by how it begins, and each wrapping: the first byte chooses a beginning that leads into its
// reader, the others follow it.

#include <tests/fuzz/RecordingCheck.h>

#include <cstdint>
#include <cstdio>
#include <iterator>
#include <string_view>

using namespace std::string_view_literals;

namespace {

#define REGISTERS "EAX=0x00000007, EBX=0x756e6547, ECX=0x6c65746e, EDX=0x49656e69\n"
#define FIELDS "\"0x1\", \"subleaf\": \"0x0\", \"flags\": 0, \"modifiers\": ["
#define BITS "\"bitmap\": \"0b00000000000000000000000000000001\"}"

constexpr std::string_view beginnings[] = {
    "1 0 0 0 0 => d 756e6547 6c65746e 49656e69\n"sv,
    "Gathering CPUID of PU P#0 on stdout ...\n1 0 0 0 0 => d 756e6547 6c65746e 49656e69\nGathering"sv,
    "Basic Leafs :\n0x00000000: " REGISTERS "0x00000004: subleafs:\n  0: " REGISTERS "  1: "sv,
    "CPU Thread 0\n0x00000000\t0x00000002\t0x756E6547\t0x6C65746E\t0x49656E69\n"sv,
    "CPU Thread 0\n0x00000000\t0x00000002\t0x756E6547\t0x6C65746E\t0x49656E69\nMSR 0x0000001B\t0x"sv,
    "    CPUID Registers (CPU #1):\n      CPUID 00000000   0000000A-756E6547-6C65746E-49656E69\n      "sv,
    "CPUID 00000000:00 = 0000000d 756e6547 6c65746e 49656e69 | \"\"\nCPUID 00000004:"sv,
    "<?xml version=\"1.0\"?><cpuid type=\"x86\"><processor>"
    "<register eax=\"00000000\" ecx=\"00000000\">00000016,756E6547,6C65746E,49656E69</register>"sv,
    "<cpuid"sv,
    "{\"guest_cpu_config\": {\"cpuid_modifiers\": [{\"leaf\": " FIELDS "{\"register\": \"eax\", " BITS
    ", {\"register\": \"ebx\", " BITS ", {\"register\": \"ecx\", " BITS ", {\"register\": \"edx\", " BITS "]}"sv,
    "{\"guest_cpu_config\": {\"cpuid_modifiers\": ["sv,
    "{"sv,
    "\xFF\xFE"sv,
    "\xFE\xFF"sv,
    "\x1F\x8B\x08\0\0\0\0\0\0\x03"sv,
    "\xFD"
    "7zXZ\0\0\x01\x69\x22\xDE\x36\x02\0\x21\x01\x0C\0\0\0\x8F\x98\x41\x9C"sv,
    "BZh1\x31\x41\x59\x26\x53\x59"sv,
};

// The bytes behind a header of tar whose checksum is right. Its path, type and size are taken from them, 64 bytes.
std::string archived(const std::uint8_t* bytes, std::size_t size) {
    std::string header(512, '\0');
    for (std::size_t i = 0; i < 64 && i < size; ++i) {
        header[i < 40 ? i : i < 52 ? i + 84 : i < 53 ? 156 : i + 200] = static_cast<char>(bytes[i]);
    }
    header.replace(148, 8, 8, ' ');
    unsigned int sum = 0;
    for (const char c : header) {
        sum += static_cast<unsigned char>(c);
    }
    char number[16];
    std::snprintf(number, sizeof number, "%06o", sum);
    header.replace(148, 7, number, 7);
    return header + std::string(reinterpret_cast<const char*>(bytes), size);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t choice = bytes[0] % (std::size(beginnings) + 1);
    ++bytes;
    --size;
    checkRecording(choice == std::size(beginnings)
                       ? archived(bytes, size)
                       : std::string(beginnings[choice]) + std::string(reinterpret_cast<const char*>(bytes), size));
    return 0;
}
