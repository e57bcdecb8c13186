#include <tools/quarrow/Numbers.h>

#include <tools/quarrow/Failure.h>

#include <zel/String.h>

namespace quarrow {

std::uint64_t numberIn(const std::string& text, const std::string& what, std::uint64_t maximum) {
    std::uint64_t number = 0;
    if (zel::String::fromUtf8(text).toUint64(number) != zel::String::PARSE_OK) {
        throw Failure(Failure::WrongInput,
                      what + " '" + text + "' is no number; write decimal digits, or hexadecimal ones as in 0x1A2");
    }
    if (number > maximum) {
        throw Failure(Failure::WrongInput, what + " " + text + " is too large; " +
                                               zel::String::SprintfFormat("0x%llX", maximum).toUtf8() + " is the most");
    }
    return number;
}

std::uint64_t numberOperand(const Request& request, const std::string& what, std::uint64_t maximum) {
    return numberIn(request.operands.at(0), what, maximum);
}

boost::optional<std::uint64_t> numberOption(const Request& request, const std::string& name, std::uint64_t maximum) {
    const auto option = request.options.find(name);
    if (option == request.options.end()) {
        return boost::none;
    }
    return numberIn(option->second, "--" + name, maximum);
}

std::uint64_t maximumOf(std::uint64_t bytes) {
    return UINT64_MAX >> (64 - 8 * bytes);
}

std::string hexadecimal(std::uint64_t value, std::uint64_t bytes) {
    return "0x" + zel::String::SprintfFormat("%0*llx", static_cast<int>(2 * bytes), value).toUtf8();
}

} // namespace quarrow
