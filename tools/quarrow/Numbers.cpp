#include <tools/quarrow/Numbers.h>

#include <tools/quarrow/Failure.h>

#include <zel/String.h>

namespace quarrow {
namespace {

bool read(const std::string& text, std::uint64_t& number) {
    return zel::String::fromUtf8(text).toUint64(number) == zel::String::PARSE_OK;
}

std::string bound(std::uint64_t number) {
    constexpr std::uint64_t longestDecimal = 9999;
    return zel::String::SprintfFormat(number > longestDecimal ? "0x%llX" : "%llu", number).toUtf8();
}

} // namespace

std::uint64_t numberIn(const std::string& text, const std::string& what, std::uint64_t least, std::uint64_t most) {
    std::uint64_t number = 0;
    if (!read(text, number) || number < least || number > most) {
        throw Failure(Failure::WrongInput, what + " '" + text + "' is not a number from " + bound(least) + " to " +
                                               bound(most) + " (decimal, or hexadecimal as in 0x1A2)");
    }
    return number;
}

boost::optional<std::uint64_t> numberOption(const Request& request, const char* option, std::uint64_t least,
                                            std::uint64_t most) {
    const auto given = request.options.find(option);
    if (given == request.options.end()) {
        return boost::none;
    }
    return numberIn(given->second, std::string("--") + option, least, most);
}

std::uint64_t sizeOption(const Request& request, std::uint64_t usual, std::uint64_t widest) {
    const auto given = request.options.find("size");
    std::uint64_t size = usual;
    if (given != request.options.end() &&
        (!read(given->second, size) || size == 0 || size > widest || (size & (size - 1)) != 0)) {
        throw Failure(Failure::WrongInput, "--size '" + given->second +
                                               "' is not a size that is possible here; it can be 1, 2" +
                                               (widest == 8 ? ", 4 or 8" : " or 4") + " bytes");
    }
    return size;
}

std::string hexadecimal(std::uint64_t value, std::uint64_t bytes) {
    return zel::String::SprintfFormat("0x%0*llx", static_cast<int>(2 * bytes), value).toUtf8();
}

} // namespace quarrow
