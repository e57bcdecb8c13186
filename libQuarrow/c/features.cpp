// Features, by constant and by name.

#include <libQuarrow/c/Handles.h>

#include <libQuarrow/topology/features/FeatureNames.h>
#include <libQuarrow/topology/features/isa.h>

#include <iterator>

using namespace libQuarrow;
using namespace libQuarrow::c;
namespace isa = libQuarrow::topology::isa;

namespace {

// By the numbers of enum quarrow_feature.
constexpr topology::Feature constants[] = {
    isa::cmov,
    isa::cx8,
    isa::cx16,
    isa::mmx,
    isa::sse,
    isa::sse2,
    isa::sse3,
    isa::ssse3,
    isa::sse4_1,
    isa::sse4_2,
    isa::sse4a,
    isa::popcnt,
    isa::lzcnt,
    isa::bmi1,
    isa::bmi2,
    isa::adx,
    isa::movbe,
    isa::tbm,
    isa::aes,
    isa::vaes,
    isa::pclmul,
    isa::vpclmulqdq,
    isa::gfni,
    isa::sha,
    isa::sha512,
    isa::sm3,
    isa::sm4,
    isa::rdrand,
    isa::rdseed,
    isa::avx,
    isa::avx2,
    isa::f16c,
    isa::fma,
    isa::fma4,
    isa::xop,
    isa::avx_vnni,
    isa::avx_vnni_int8,
    isa::avx_vnni_int16,
    isa::avx_ifma,
    isa::avx_ne_convert,
    isa::avx512f,
    isa::avx512cd,
    isa::avx512bw,
    isa::avx512dq,
    isa::avx512vl,
    isa::avx512_ifma,
    isa::avx512_vbmi,
    isa::avx512_vbmi2,
    isa::avx512_vnni,
    isa::avx512_bitalg,
    isa::avx512_vpopcntdq,
    isa::avx512_vp2intersect,
    isa::avx512_bf16,
    isa::avx512_fp16,
    isa::avx10,
    isa::amx_tile,
    isa::amx_int8,
    isa::amx_bf16,
    isa::amx_fp16,
    isa::amx_complex,
    isa::apx,
    isa::rtm,
    isa::clflushopt,
    isa::clwb,
    isa::movdiri,
    isa::movdir64b,
    isa::waitpkg,
    isa::serialize,
    isa::cmpccxadd,
    isa::rdtscp,
    isa::rdpid,
    isa::prefetchw,
};
static_assert(std::size(constants) == QUARROW_FEATURE_PREFETCHW + 1);
static_assert(constants[QUARROW_FEATURE_SSE3].name == "pni" && constants[QUARROW_FEATURE_SHA].name == "sha_ni" &&
              constants[QUARROW_FEATURE_AVX2].name == "avx2" && constants[QUARROW_FEATURE_AVX512F].name == "avx512f" &&
              constants[QUARROW_FEATURE_AMX_TILE].name == "amx_tile" && constants[QUARROW_FEATURE_RTM].name == "rtm");

topology::Feature featureOf(std::uint32_t constant) {
    if (constant >= std::size(constants)) {
        throw Failure(QUARROW_ERROR_ARGUMENT,
                      "there is no constant " + std::to_string(constant) + " of enum quarrow_feature");
    }
    return constants[constant];
}

topology::Feature featureOf(const char* name) {
    const topology::Feature feature{&given(name, "name")};
    if (!topology::FeatureSet::isKnown(feature.name)) {
        throw Failure(QUARROW_ERROR_ARGUMENT,
                      "no feature is known as '" + std::string(name) + "'; names are those of /proc/cpuinfo");
    }
    return feature;
}

const topology::FeatureSet& featuresOf(const quarrow_machine* machine, std::uint32_t number, bool usable) {
    const topology::ProcessorIdentity& identity = *processorOf(machine, number).identity;
    return usable ? identity.usable : identity.features;
}

template <class Named>
int asks(const quarrow_machine* machine, std::uint32_t number, Named feature, bool usable) {
    return answer(0, [&] { return featuresOf(machine, number, usable).contains(featureOf(feature)) ? 1 : 0; });
}

} // namespace

int quarrow_processor_has(const quarrow_machine* machine, uint32_t number, uint32_t feature) {
    return asks(machine, number, feature, false);
}

int quarrow_processor_can_use(const quarrow_machine* machine, uint32_t number, uint32_t feature) {
    return asks(machine, number, feature, true);
}

int quarrow_processor_has_named(const quarrow_machine* machine, uint32_t number, const char* name) {
    return asks(machine, number, name, false);
}

int quarrow_processor_can_use_named(const quarrow_machine* machine, uint32_t number, const char* name) {
    return asks(machine, number, name, true);
}

char* quarrow_processor_features(const quarrow_machine* machine, uint32_t number, int usable) {
    return answer<char*>(nullptr, [&] {
        std::string text;
        for (const std::string_view name : featuresOf(machine, number, usable != 0).names()) {
            text += text.empty() ? "" : " ";
            text += name;
        }
        return ownedText(text);
    });
}

// The names and meanings are whole literals, so a zero byte stands behind them.

const char* quarrow_feature_name(uint32_t feature) {
    return answer<const char*>(nullptr, [&] { return featureOf(feature).name.data(); });
}

size_t quarrow_feature_count(void) {
    return answer<size_t>(0, [] { return topology::featureNamesInOrder().size(); });
}

const char* quarrow_feature_at(size_t index) {
    return answer<const char*>(nullptr,
                               [&] { return elementOf(topology::featureNamesInOrder(), index, "feature").data(); });
}

const char* quarrow_feature_meaning(const char* name) {
    return answer<const char*>(nullptr, [&] { return topology::FeatureSet::meaningOf(featureOf(name).name).data(); });
}
