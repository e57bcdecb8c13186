#include <libQuarrow/recording/formats/FirecrackerJson.h>

#include <libQuarrow/recording/formats/FormatReader.h>
#include <libQuarrow/recording/formats/LineCursor.h>
#include <libQuarrow/recording/formats/RecordingBuilder.h>

#ifdef QUARROW_HAS_JSON
#include <nlohmann/json.hpp>

#include <algorithm>
#endif

namespace libQuarrow::os {

#ifdef QUARROW_HAS_JSON
namespace {

using nlohmann::json;

// What was wrong with an entry, without where.
struct EntryError {
    std::string expected;
};

// A member; null when there is none.
const json& memberOf(const json& object, const char* key) {
    static const json none;
    const auto member = object.find(key);
    return member != object.end() ? *member : none;
}

// A member that is a text; empty when there is none.
std::string textOf(const json& object, const char* key) {
    const json& member = memberOf(object, key);
    return member.is_string() ? member.get<std::string>() : std::string();
}

// "0x8000001d"
std::uint32_t numberOf(const json& object, const char* key) {
    const std::string text = textOf(object, key);
    LineCursor cursor(text);
    std::uint32_t number = 0;
    if (!cursor.accept("0x") || !cursor.hex(number, 1, 8) || !cursor.atEnd()) {
        throw EntryError{std::string("\"") + key + "\": \"0xNUMBER\" in hexadecimal digits"};
    }
    return number;
}

// "0b0110...", the highest bit first, underscores between them where one likes
std::uint64_t bitsOf(const json& object, std::size_t count) {
    const std::string text = textOf(object, "bitmap");
    bool matches = startsWith(text, "0b");
    if (matches && text.find('x') != std::string::npos) {
        throw EntryError{"bits that are 0 or 1; an x leaves one to the host, so this is a template and no machine"};
    }
    std::uint64_t value = 0;
    std::size_t digits = 0;
    for (std::size_t i = 2; matches && i < text.size(); ++i) {
        if (text[i] != '_') {
            matches = text[i] == '0' || text[i] == '1';
            value = value << 1 | (text[i] == '1' ? 1U : 0U);
            ++digits;
        }
    }
    if (!matches || digits != count) {
        throw EntryError{"\"bitmap\": \"0bBITS\" with " + std::to_string(count) + " binary digits"};
    }
    return value;
}

void addCpuidModifier(const json& entry, RecordingBuilder& builder) {
    const std::uint32_t leaf = numberOf(entry, "leaf");
    const std::uint32_t subleaf = numberOf(entry, "subleaf");
    cpu::cpuid_args registers;
    std::map<std::string, std::uint32_t*> fields = {
        {"eax", &registers.eax}, {"ebx", &registers.ebx}, {"ecx", &registers.ecx}, {"edx", &registers.edx}};
    for (const json& modifier : memberOf(entry, "modifiers")) {
        const auto field = fields.find(textOf(modifier, "register"));
        if (field == fields.end()) {
            throw EntryError{"the \"modifiers\" of eax, ebx, ecx and edx, each once"};
        }
        *field->second = static_cast<std::uint32_t>(bitsOf(modifier, 32));
        fields.erase(field);
    }
    if (!fields.empty()) {
        throw EntryError{"the \"modifiers\" of eax, ebx, ecx and edx, each once"};
    }
    if (builder.processor().leaves.count({leaf, subleaf}) != 0) {
        throw EntryError{"each leaf and sub-leaf once"};
    }
    builder.addLeaf(leaf, subleaf, registers);
}

void addMsrModifier(const json& entry, RecordingBuilder& builder) {
    const std::uint32_t msr = numberOf(entry, "addr");
    builder.addMsr(boost::none, msr, bitsOf(entry, 64));
}

} // namespace

boost::optional<Recording> parseFirecrackerJson(std::string_view text, const std::string& name, RecordingError& error) {
    json document;
    try {
        document = json::parse(text);
    } catch (const json::parse_error& problem) {
        const auto place = text.begin() + static_cast<std::ptrdiff_t>(std::min(problem.byte, text.size()));
        error.message = name + ":" + std::to_string(1 + std::count(text.begin(), place, '\n')) +
                        ": expected JSON that is whole; " + formatsRead;
        return boost::none;
    } catch (const json::exception&) { // a number that is too large
        error.message = name + ": it is no JSON that a program wrote; " + formatsRead;
        return boost::none;
    }
    RecordingBuilder builder;
    builder.beginProcessor();
    // A fingerprint wraps it, a template stands alone.
    const json& wrapped = memberOf(document, "guest_cpu_config");
    const json& config = wrapped.is_null() ? document : wrapped;
    const std::pair<const char*, void (*)(const json&, RecordingBuilder&)> lists[] = {
        {"cpuid_modifiers", addCpuidModifier}, {"msr_modifiers", addMsrModifier}};
    for (const auto& [list, add] : lists) {
        std::size_t number = 0;
        for (const json& entry : memberOf(config, list)) {
            try {
                add(entry, builder);
            } catch (const EntryError& problem) {
                error.message = name + ": " + list + "[" + std::to_string(number) + "]: expected " + problem.expected;
                return boost::none;
            }
            ++number;
        }
    }
    Recording recording = builder.finish();
    if (!hasValues(recording)) {
        error.message = name + ": it is JSON without the cpuid_modifiers of a Firecracker guest on x86; " + formatsRead;
        return boost::none;
    }
    return recording;
}

#else

boost::optional<Recording> parseFirecrackerJson(std::string_view, const std::string& name, RecordingError& error) {
    error.message = name + ": it is JSON, which this quarrow was built without nlohmann-json for; " + formatsRead;
    return boost::none;
}

#endif

} // namespace libQuarrow::os
