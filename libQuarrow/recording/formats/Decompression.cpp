#include <libQuarrow/recording/formats/Decompression.h>

#include <libQuarrow/recording/Recording.h>
#include <libQuarrow/recording/formats/LineCursor.h>

#ifdef QUARROW_HAS_ZLIB
#include <zlib.h>
#endif
#ifdef QUARROW_HAS_LIBLZMA
#include <lzma.h>
#endif
#ifdef QUARROW_HAS_LIBBZ2
#include <bzlib.h>
#endif

namespace libQuarrow::os {
namespace {

enum class Unpacking { goesOn, atEnd, failed, tooLarge };

// One compressed stream after the other, as `cat` or a parallel compressor puts them. All three libraries take from
// next_in and give to next_out until one of the two is used up.
template <class Stream>
Unpacking unpackStreams(std::string_view packed, std::string& unpacked) {
    char block[1 << 16];
    while (!packed.empty()) {
        Stream stream;
        stream.state.next_in = reinterpret_cast<decltype(stream.state.next_in)>(const_cast<char*>(packed.data()));
        stream.state.avail_in = static_cast<decltype(stream.state.avail_in)>(packed.size());
        Unpacking outcome = Unpacking::goesOn;
        while (outcome == Unpacking::goesOn) {
            stream.state.next_out = reinterpret_cast<decltype(stream.state.next_out)>(block);
            stream.state.avail_out = sizeof block;
            outcome = stream.step();
            const std::size_t count = sizeof block - stream.state.avail_out;
            if (unpacked.size() + count > maxRecordingBytes) {
                return Unpacking::tooLarge;
            }
            unpacked.append(block, count);
            if (outcome == Unpacking::goesOn && count == 0 && stream.state.avail_in == 0) {
                return Unpacking::failed; // it breaks off
            }
        }
        if (outcome != Unpacking::atEnd) {
            return outcome;
        }
        packed.remove_prefix(packed.size() - stream.state.avail_in);
    }
    return Unpacking::atEnd;
}

using Unpack = Unpacking (*)(std::string_view, std::string&);

#ifdef QUARROW_HAS_ZLIB
struct GzipStream {
    GzipStream() : ready(inflateInit2(&state, MAX_WBITS + 16) == Z_OK) {} // + 16: gzip's header, and no other
    ~GzipStream() { inflateEnd(&state); }
    Unpacking step() {
        const int result = ready ? inflate(&state, Z_NO_FLUSH) : Z_MEM_ERROR;
        return result == Z_STREAM_END ? Unpacking::atEnd : result == Z_OK ? Unpacking::goesOn : Unpacking::failed;
    }
    z_stream state{};
    bool ready;
};
constexpr Unpack unpackGzip = unpackStreams<GzipStream>;
#else
constexpr Unpack unpackGzip = nullptr;
#endif

#ifdef QUARROW_HAS_LIBLZMA
struct XzStream {
    XzStream() : ready(lzma_stream_decoder(&state, memoryLimit, LZMA_CONCATENATED) == LZMA_OK) {}
    ~XzStream() { lzma_end(&state); }
    Unpacking step() {
        const lzma_ret result = ready ? lzma_code(&state, LZMA_FINISH) : LZMA_MEM_ERROR;
        return result == LZMA_STREAM_END ? Unpacking::atEnd : result == LZMA_OK ? Unpacking::goesOn : Unpacking::failed;
    }
    static constexpr std::uint64_t memoryLimit = std::uint64_t{128} << 20; // xz -9 wants 65 MiB
    lzma_stream state = LZMA_STREAM_INIT;
    bool ready;
};
constexpr Unpack unpackXz = unpackStreams<XzStream>;
#else
constexpr Unpack unpackXz = nullptr;
#endif

#ifdef QUARROW_HAS_LIBBZ2
struct Bzip2Stream {
    Bzip2Stream() : ready(BZ2_bzDecompressInit(&state, 0, 0) == BZ_OK) {}
    ~Bzip2Stream() { BZ2_bzDecompressEnd(&state); }
    Unpacking step() {
        const int result = ready ? BZ2_bzDecompress(&state) : BZ_MEM_ERROR;
        return result == BZ_STREAM_END ? Unpacking::atEnd : result == BZ_OK ? Unpacking::goesOn : Unpacking::failed;
    }
    bz_stream state{};
    bool ready;
};
constexpr Unpack unpackBzip2 = unpackStreams<Bzip2Stream>;
#else
constexpr Unpack unpackBzip2 = nullptr;
#endif

struct Compression {
    std::string_view magic; // how such a file begins
    const char* name;
    const char* library; // that unpacks it; null: none does
    Unpack unpack;       // null in a build without that library
};

// clang-format off
constexpr Compression compressions[] = {
    {"\x1F\x8B",               "gzip",  "zlib",    unpackGzip },
    {{"\xFD" "7zXZ\0", 6},     "xz",    "liblzma", unpackXz   },
    {"BZh",                    "bzip2", "libbz2",  unpackBzip2},
    {"\x28\xB5\x2F\xFD",       "zstd",  nullptr,   nullptr    },
    {"PK\x03\x04",             "ZIP",   nullptr,   nullptr    },
};
// clang-format on

} // namespace

std::string decompress(std::string_view& bytes, std::string& unpacked) {
    for (const Compression& compression : compressions) {
        if (!startsWith(bytes, compression.magic)) {
            continue;
        }
        const std::string file = std::string("it is compressed (") + compression.name + ")";
        if (compression.unpack == nullptr) {
            return file + ", which this quarrow " +
                   (compression.library == nullptr ? "does not read"
                                                   : std::string("was built without ") + compression.library + " for") +
                   "; unpack it first";
        }
        const Unpacking outcome = compression.unpack(bytes, unpacked);
        bytes = unpacked;
        if (outcome == Unpacking::tooLarge) {
            return file + " and larger than 64 MiB; recordings are smaller";
        }
        return outcome == Unpacking::atEnd ? "" : file + " and damaged, or breaks off; fetch it anew";
    }
    return {};
}

} // namespace libQuarrow::os
