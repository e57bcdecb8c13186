#pragma once

#include <libQuarrow/c/quarrow.h>

#include <exception>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

// Private to the library: how C++ failures become those of the C interface. Nothing leaves it as an exception.

namespace libQuarrow::c {

// What a function of the interface throws where it cannot answer.
class Failure : public std::runtime_error {
  public:
    Failure(quarrow_error code, const std::string& text) : std::runtime_error(text), m_code(code) {}
    quarrow_error code() const { return m_code; }

  private:
    quarrow_error m_code;
};

// Keeps the calling thread's failure. The text is cut where it is too long.
int keepFailure(quarrow_error code, const char* text) noexcept;

// The code of what `work` throws, which is kept; QUARROW_OK when it throws nothing.
template <class Work>
int attempt(Work work) noexcept {
    try {
        work();
        return QUARROW_OK;
    } catch (const Failure& failure) {
        return keepFailure(failure.code(), failure.what());
    } catch (const std::bad_alloc&) {
        return keepFailure(QUARROW_ERROR_MEMORY, "there is not enough memory");
    } catch (const std::exception& error) {
        return keepFailure(QUARROW_ERROR_INTERNAL, error.what());
    } catch (...) {
        return keepFailure(QUARROW_ERROR_INTERNAL, "an exception of an unknown type");
    }
}

// What `work` answers, or `otherwise` when it throws.
template <class Result, class Work>
Result answer(Result otherwise, Work work) noexcept {
    attempt([&] { otherwise = work(); });
    return otherwise;
}

// What a pointer of the caller's points to. Throws where it is null.
template <class Value>
Value& given(Value* pointer, const char* what) {
    if (pointer == nullptr) {
        throw Failure(QUARROW_ERROR_ARGUMENT, std::string("the ") + what + " is a null pointer");
    }
    return *pointer;
}

// The name of an enumerator, the last of which is `last`.
template <class Enum>
const char* wordFor(std::uint32_t value, Enum last) {
    return answer<const char*>(nullptr, [&] {
        if (value > static_cast<std::uint32_t>(last)) {
            throw Failure(QUARROW_ERROR_ARGUMENT, "there is no such constant: " + std::to_string(value));
        }
        return nameOf(static_cast<Enum>(value));
    });
}

// The element at that index. Throws where there is none.
template <class Values>
decltype(auto) elementOf(Values& values, std::size_t index, const char* what) {
    if (index >= values.size()) {
        throw Failure(QUARROW_ERROR_ARGUMENT, "there is no " + std::string(what) + " at index " +
                                                  std::to_string(index) + "; there are " +
                                                  std::to_string(values.size()));
    }
    return values[index];
}

// How what is not known is told. A text has a zero byte behind it, as the library's constants have, which are literals.
inline std::uint32_t orNone(const std::optional<std::uint32_t>& number) {
    return number.value_or(QUARROW_NONE);
}
inline const char* orNull(std::string_view text) {
    return text.empty() ? nullptr : text.data();
}

// A text for the caller to own.
char* ownedText(const std::string& text);

// The first `size` bytes of `facts` for a caller who knows so many of them, zeros behind those that there are.
void fill(void* target, std::size_t size, const void* facts, std::size_t known);
template <class Facts>
void fillStructure(Facts* target, std::size_t size, const Facts& facts) {
    given(target, "structure to fill");
    fill(target, size, &facts, sizeof facts);
}

} // namespace libQuarrow::c
