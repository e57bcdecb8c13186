#include <libQuarrow/os/NativeClock.h>

#include <windows.h>

namespace libQuarrow::os {
namespace {

template <class Query>
bool read(Query query, std::uint64_t& value) {
    LARGE_INTEGER number{};
    if (query(&number) == FALSE) {
        return false;
    }
    value = static_cast<std::uint64_t>(number.QuadPart);
    return true;
}

} // namespace

bool NativeClock::frequency(std::uint64_t& countsPerSecond) {
    return read(&::QueryPerformanceFrequency, countsPerSecond);
}

bool NativeClock::counter(std::uint64_t& counts) {
    return read(&::QueryPerformanceCounter, counts);
}

bool NativeClock::priorityClass(std::uint32_t& value) {
    const DWORD current = ::GetPriorityClass(GetCurrentProcess());
    if (current != 0) {
        value = current;
    }
    return current != 0;
}

bool NativeClock::setPriorityClass(std::uint32_t value) {
    return ::SetPriorityClass(GetCurrentProcess(), value) != FALSE;
}

} // namespace libQuarrow::os
