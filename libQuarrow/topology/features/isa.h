#pragma once

#include <libQuarrow/topology/features/FeatureSet.h>

// The features that programs choose their code by: if (usable.contains(isa::avx512_vnni)) ...
// The names are those of /proc/cpuinfo but for sse3, pclmul, lzcnt, sha and cx16's like, which it calls pni, pclmulqdq,
// abm and sha_ni.

namespace libQuarrow::topology::isa {

inline constexpr Feature cmov{"cmov"};
inline constexpr Feature cx8{"cx8"};
inline constexpr Feature cx16{"cx16"};
inline constexpr Feature mmx{"mmx"};
inline constexpr Feature sse{"sse"};
inline constexpr Feature sse2{"sse2"};
inline constexpr Feature sse3{"pni"};
inline constexpr Feature ssse3{"ssse3"};
inline constexpr Feature sse4_1{"sse4_1"};
inline constexpr Feature sse4_2{"sse4_2"};
inline constexpr Feature sse4a{"sse4a"};
inline constexpr Feature popcnt{"popcnt"};
inline constexpr Feature lzcnt{"abm"};
inline constexpr Feature bmi1{"bmi1"};
inline constexpr Feature bmi2{"bmi2"};
inline constexpr Feature adx{"adx"};
inline constexpr Feature movbe{"movbe"};
inline constexpr Feature tbm{"tbm"};
inline constexpr Feature aes{"aes"};
inline constexpr Feature vaes{"vaes"};
inline constexpr Feature pclmul{"pclmulqdq"};
inline constexpr Feature vpclmulqdq{"vpclmulqdq"};
inline constexpr Feature gfni{"gfni"};
inline constexpr Feature sha{"sha_ni"};
inline constexpr Feature sha512{"sha512"};
inline constexpr Feature sm3{"sm3"};
inline constexpr Feature sm4{"sm4"};
inline constexpr Feature rdrand{"rdrand"};
inline constexpr Feature rdseed{"rdseed"};
inline constexpr Feature avx{"avx"};
inline constexpr Feature avx2{"avx2"};
inline constexpr Feature f16c{"f16c"};
inline constexpr Feature fma{"fma"};
inline constexpr Feature fma4{"fma4"};
inline constexpr Feature xop{"xop"};
inline constexpr Feature avx_vnni{"avx_vnni"};
inline constexpr Feature avx_vnni_int8{"avx_vnni_int8"};
inline constexpr Feature avx_vnni_int16{"avx_vnni_int16"};
inline constexpr Feature avx_ifma{"avx_ifma"};
inline constexpr Feature avx_ne_convert{"avx_ne_convert"};
inline constexpr Feature avx512f{"avx512f"};
inline constexpr Feature avx512cd{"avx512cd"};
inline constexpr Feature avx512bw{"avx512bw"};
inline constexpr Feature avx512dq{"avx512dq"};
inline constexpr Feature avx512vl{"avx512vl"};
inline constexpr Feature avx512_ifma{"avx512ifma"};
inline constexpr Feature avx512_vbmi{"avx512vbmi"};
inline constexpr Feature avx512_vbmi2{"avx512_vbmi2"};
inline constexpr Feature avx512_vnni{"avx512_vnni"};
inline constexpr Feature avx512_bitalg{"avx512_bitalg"};
inline constexpr Feature avx512_vpopcntdq{"avx512_vpopcntdq"};
inline constexpr Feature avx512_vp2intersect{"avx512_vp2intersect"};
inline constexpr Feature avx512_bf16{"avx512_bf16"};
inline constexpr Feature avx512_fp16{"avx512_fp16"};
inline constexpr Feature avx10{"avx10"};
inline constexpr Feature amx_tile{"amx_tile"};
inline constexpr Feature amx_int8{"amx_int8"};
inline constexpr Feature amx_bf16{"amx_bf16"};
inline constexpr Feature amx_fp16{"amx_fp16"};
inline constexpr Feature amx_complex{"amx_complex"};
inline constexpr Feature apx{"apx_f"};
inline constexpr Feature rtm{"rtm"};
inline constexpr Feature clflushopt{"clflushopt"};
inline constexpr Feature clwb{"clwb"};
inline constexpr Feature movdiri{"movdiri"};
inline constexpr Feature movdir64b{"movdir64b"};
inline constexpr Feature waitpkg{"waitpkg"};
inline constexpr Feature serialize{"serialize"};
inline constexpr Feature cmpccxadd{"cmpccxadd"};
inline constexpr Feature rdtscp{"rdtscp"};
inline constexpr Feature rdpid{"rdpid"};
inline constexpr Feature prefetchw{"3dnowprefetch"};

} // namespace libQuarrow::topology::isa
