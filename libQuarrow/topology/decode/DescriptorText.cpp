#include <libQuarrow/topology/decode/Descriptors.h>

#include <libQuarrow/topology/decode/CacheDescriptors.h>

namespace libQuarrow::topology {
namespace {

// Those that name neither a cache nor a TLB.
struct OtherDescriptor {
    std::uint8_t descriptor;
    const char* text;
};

constexpr OtherDescriptor otherDescriptors[] = {
    {0x00, "none"},
    {0x40, "no L2, or no L3"},
    {0xF0, "prefetches 64 bytes"},
    {0xF1, "prefetches 128 bytes"},
    {0xFE, "TLBs are in leaf 0x18"},
    {0xFF, "caches are in leaf 4"},
};

std::string textOf(const CacheDescriptor& row) {
    const std::string type = row.type == CacheType::unified ? "" : std::string(" ") + nameOf(row.type);
    const char* const unit = row.type == CacheType::trace ? "K micro-ops" : " KB";
    return "L" + std::to_string(row.level) + type + ", " + std::to_string(row.sizeK) + unit;
}

std::string textOf(const TlbDescriptor& row) {
    const struct {
        std::uint8_t pages;
        const char* text;
    } sizes[] = {
        {descriptors::k4, "4 KB"}, {descriptors::m2, "2 MB"}, {descriptors::m4, "4 MB"}, {descriptors::g1, "1 GB"}};
    std::string pages;
    for (const auto& size : sizes) {
        if ((row.pages & size.pages) != 0) {
            pages += (pages.empty() ? "" : " or ") + std::string(size.text);
        }
    }
    return "L" + std::to_string(row.level) + " " + nameOf(row.type) + " TLB, " + std::to_string(row.entries) + " of " +
           pages;
}

} // namespace

std::string descriptorText(std::uint8_t descriptor) {
    for (const OtherDescriptor& row : otherDescriptors) {
        if (row.descriptor == descriptor) {
            return row.text;
        }
    }
    for (const CacheDescriptor& row : descriptors::caches) {
        if (row.descriptor == descriptor) {
            return textOf(row);
        }
    }
    std::string text; // one may be of two
    for (const TlbDescriptor& row : descriptors::tlbs) {
        if (row.descriptor == descriptor) {
            text += (text.empty() ? "" : "; ") + textOf(row);
        }
    }
    return text;
}

} // namespace libQuarrow::topology
