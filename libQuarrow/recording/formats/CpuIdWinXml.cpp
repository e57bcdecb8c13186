#include <libQuarrow/recording/formats/CpuIdWinXml.h>

#include <libQuarrow/recording/formats/FormatReader.h>
#include <libQuarrow/recording/formats/LineCursor.h>
#include <libQuarrow/recording/formats/RecordingBuilder.h>

#ifdef QUARROW_HAS_PUGIXML
#include <pugixml.hpp>

#include <algorithm>
#include <cctype>
#endif

namespace libQuarrow::os {

#ifdef QUARROW_HAS_PUGIXML
namespace {

// <register eax="00000004" ecx="00000001">1C004122,01C0003F,0000003F,00000000</register>. In files that were made from
// dumps without sub-leaves, the n-th register of a leaf says 0 and is sub-leaf n: `lines` counts them.
bool addRegisterElement(const pugi::xml_node& element, std::map<std::uint32_t, std::uint32_t>& lines,
                        RecordingBuilder& builder) {
    LineCursor leafText(element.attribute("eax").value());
    LineCursor subleafText(element.attribute("ecx").value());
    LineCursor values(element.child_value());
    std::uint32_t leaf = 0;
    std::uint32_t subleaf = 0;
    cpu::cpuid_args registers;
    if (!leafText.hex(leaf, 1, 8) || !leafText.atEnd() || !subleafText.hex(subleaf, 1, 8) || !subleafText.atEnd() ||
        (values.skipBlanks(), !values.fourRegisters(registers, ',', ',')) || (values.skipBlanks(), !values.atEnd())) {
        return false;
    }
    const std::uint32_t line = lines[leaf]++;
    builder.addLeaf(leaf, subleaf == 0 ? line : subleaf, registers);
    return true;
}

} // namespace

boost::optional<Recording> parseCpuIdWinXml(std::string_view text, const std::string& name, RecordingError& error) {
    const auto failed = [&](std::ptrdiff_t offset, const std::string& what) {
        const auto place =
            text.begin() + std::clamp<std::ptrdiff_t>(offset, 0, static_cast<std::ptrdiff_t>(text.size()));
        error.message = name + ":" + std::to_string(1 + std::count(text.begin(), place, '\n')) + ": " + what;
        return boost::none;
    };
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
    if (!result) {
        std::string reason = result.description();
        reason.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(reason.front())));
        return failed(result.offset, "expected XML that is whole: " + reason);
    }
    const pugi::xml_node root = document.child("cpuid");
    if (std::string_view(root.attribute("type").value()) != "x86") {
        const std::ptrdiff_t offset = document.document_element().offset_debug();
        return failed(offset, std::string("expected <cpuid type=\"x86\">, the XML of CpuIdWin; ") + formatsRead);
    }
    RecordingBuilder builder;
    for (const pugi::xml_node& processor : root.children("processor")) {
        builder.beginProcessor();
        if (builder.tooManyProcessors()) {
            return failed(processor.offset_debug(),
                          "expected no more than " + std::to_string(maxRecordedProcessors) + " processors");
        }
        std::map<std::uint32_t, std::uint32_t> lines;
        for (const pugi::xml_node& element : processor.children("register")) {
            if (!addRegisterElement(element, lines, builder)) {
                return failed(element.offset_debug(),
                              "expected <register eax=\"LEAF\" ecx=\"SUBLEAF\">EAX,EBX,ECX,EDX</register> with 8 "
                              "hexadecimal digits each");
            }
        }
    }
    Recording recording = builder.finish();
    if (!hasValues(recording)) {
        error.message = name + ": there are no CPUID values in it; " + formatsRead;
        return boost::none;
    }
    return recording;
}

#else

boost::optional<Recording> parseCpuIdWinXml(std::string_view, const std::string& name, RecordingError& error) {
    error.message = name + ": it is XML, which this quarrow was built without pugixml for; " + formatsRead;
    return boost::none;
}

#endif

} // namespace libQuarrow::os
