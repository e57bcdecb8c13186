#include <libQuarrow/c/Failure.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace libQuarrow::c {
namespace {

// Plain bytes, so that a thread's end has nothing to destroy, whichever compiler's program it is the end of.
struct KeptFailure {
    int code;
    char text[512];
};
thread_local KeptFailure kept = {QUARROW_OK, ""};

} // namespace

int keepFailure(quarrow_error code, const char* text) noexcept {
    kept.code = code;
    std::size_t size = std::min(std::strlen(text), sizeof kept.text - 1);
    // No character is cut in two.
    while (text[size] != '\0' && size != 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) {
        --size;
    }
    std::copy_n(text, size, kept.text);
    kept.text[size] = '\0';
    std::replace(kept.text, kept.text + size, '\n', ' ');
    return code;
}

char* ownedText(const std::string& text) {
    char* const copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy == nullptr) {
        throw std::bad_alloc();
    }
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

void fill(void* target, std::size_t size, const void* facts, std::size_t known) {
    if (size == 0) {
        throw Failure(QUARROW_ERROR_ARGUMENT, "the size of the structure is 0; pass its sizeof");
    }
    std::memcpy(target, facts, std::min(size, known));
    if (size > known) {
        std::memset(static_cast<char*>(target) + known, 0, size - known);
    }
}

} // namespace libQuarrow::c

using namespace libQuarrow::c;

uint32_t quarrow_abi_version(void) {
    return QUARROW_ABI_VERSION;
}

const char* quarrow_version(void) {
    return QUARROW_VERSION;
}

int quarrow_error_code(void) {
    return kept.code;
}

const char* quarrow_error_text(void) {
    return kept.text;
}

void quarrow_error_clear(void) {
    kept = {QUARROW_OK, ""};
}

void quarrow_text_free(char* text) {
    std::free(text);
}
