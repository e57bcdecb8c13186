#include <tools/quarrow/Text.h>

#include <zel/Array.h>

#include <algorithm>

namespace quarrow {

std::string printable(const zel::String& report, const zel::String& text) {
    std::u16string units = report.units();
    const std::size_t place = units.find(text.units());
    if (place != std::u16string::npos) {
        const auto first = units.begin() + static_cast<std::ptrdiff_t>(place);
        std::replace(first, first + static_cast<std::ptrdiff_t>(text.size()), u'\n', u'\uFFFD');
    }
    return printable(zel::String(std::move(units)));
}

std::string line(const zel::String& label, const zel::String& value) {
    return printable(label.getFixedStr(20) + ": " + value.normalizeSpaces() + "\n");
}

std::vector<zel::String> wrapped(const zel::String& text, std::size_t width, LongWords longWords) {
    std::vector<zel::String> lines;
    zel::String last;
    for (zel::String word : text.normalizeSpaces().tokenize(" ")) {
        if (!last.isEmpty() && last.size() + 1 + word.size() > width) {
            lines.push_back(last);
            last.clear();
        }
        while (word.size() > width) {
            const std::size_t comma = word.units().rfind(u',', width - 1);
            if (comma == std::u16string::npos && longWords == LongWords::whole) {
                break;
            }
            const std::size_t end = comma == std::u16string::npos ? width : comma + 1;
            lines.push_back(word.subString(0, end));
            word = word.subString(end);
        }
        last += (last.isEmpty() ? "" : " ") + word;
    }
    if (!last.isEmpty()) {
        lines.push_back(last);
    }
    return lines;
}

std::string oneLine(std::string text) {
    // Bytes above 0x7F stay: they may be parts of a file name.
    std::replace_if(
        text.begin(), text.end(), [](char c) { return (c >= 0 && c < 0x20) || c == 0x7F; }, ' ');
    return text;
}

std::string markup(const zel::String& text) {
    std::u16string units = text.units();
    std::replace_if(
        units.begin(), units.end(), [](char16_t unit) { return unit >= 0xFFFE; },
        u'\uFFFD'); // XML has no such character
    std::string xml;
    for (const char c : oneLine(printable(zel::String(std::move(units))))) {
        switch (c) {
        case '&':
            xml += "&amp;";
            break;
        case '<':
            xml += "&lt;";
            break;
        case '>':
            xml += "&gt;";
            break;
        case '"':
            xml += "&quot;";
            break;
        default:
            xml += c;
        }
    }
    return xml;
}

} // namespace quarrow
