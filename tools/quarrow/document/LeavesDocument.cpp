#include <tools/quarrow/document/LeavesDocument.h>

#include <tools/quarrow/Document.h>

namespace quarrow {

using libQuarrow::topology::LeafField;
using libQuarrow::topology::LeafFieldKind;
using nlohmann::ordered_json;

namespace {

ordered_json processorNumbers(const ProcessorSet& processors) {
    return ordered_json(std::vector<std::uint32_t>(processors.begin(), processors.end()));
}

ordered_json textOrNull(std::string_view text) {
    return text.empty() ? ordered_json() : ordered_json(text);
}

ordered_json meantBy(const LeafField& field) {
    switch (field.kind) {
    case LeafFieldKind::flag:
    case LeafFieldKind::bit:
        return field.raw != 0;
    case LeafFieldKind::text:
        return field.word;
    default: {
        const bool tooLarge = field.value == 0 && field.raw != 0;
        return tooLarge ? ordered_json() : ordered_json(field.value);
    }
    }
}

ordered_json fieldJson(const SharedField& shared) {
    const LeafField& field = shared.values.front().field;
    ordered_json values = ordered_json::array();
    for (const SharedField::Value& value : shared.values) {
        const bool hasWord = field.kind == LeafFieldKind::number;
        values.push_back({{"raw", value.field.raw},
                          {"value", meantBy(value.field)},
                          {"word", hasWord ? textOrNull(value.field.word) : ordered_json()},
                          {"processors", processorNumbers(value.processors)}});
    }
    return {{"name", field.name},
            {"meaning", field.meaning},
            {"register", nameOf(field.reg)},
            {"lowestBit", field.lowestBit},
            {"width", field.width},
            {"kind", nameOf(field.kind)},
            {"unit", textOrNull(field.unit)},
            {"values", values}};
}

ordered_json leafJson(const SharedLeaf& leaf) {
    ordered_json answers = ordered_json::array();
    for (const SharedAnswer& shared : leaf.answers) {
        answers.push_back({{"eax", shared.answer.eax},
                           {"ebx", shared.answer.ebx},
                           {"ecx", shared.answer.ecx},
                           {"edx", shared.answer.edx},
                           {"processors", processorNumbers(shared.processors)}});
    }
    ordered_json fields = ordered_json::array();
    for (const SharedField& field : leaf.fields) {
        fields.push_back(fieldJson(field));
    }
    ordered_json unknown = ordered_json::array();
    for (const UnknownBits& bits : leaf.unknown) {
        unknown.push_back(
            {{"register", nameOf(bits.reg)}, {"bits", bits.bits}, {"processors", processorNumbers(bits.processors)}});
    }
    return {{"leaf", leaf.leaf},  {"subleaf", leaf.subleaf}, {"title", textOrNull(leaf.title)},
            {"answers", answers}, {"fields", fields},        {"unknown", unknown}};
}

} // namespace

std::string leavesDocument(const Request& request, const std::vector<SharedLeaf>& leaves) {
    ordered_json document = emptyDocument(request);
    ordered_json& list = document["leaves"] = ordered_json::array();
    for (const SharedLeaf& leaf : leaves) {
        list.push_back(leafJson(leaf));
    }
    return documentText(document);
}

} // namespace quarrow
