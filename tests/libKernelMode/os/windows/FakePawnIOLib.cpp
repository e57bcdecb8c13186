// Stands in for PawnIO's user-mode library. What a module holds, as text, is how the driver behaves with it:
//   "works"   reads answer twice the number of the MSR and fail for MSR 0; writes succeed
//   "refused" the module does not load
//   "fails"   every call of it fails
//   "more", "less"  one value more, or one less, than asked for; one where none was asked for
// Where the environment has FAKE_PAWNIO_CLOSED, opening fails with that result, in hexadecimal. Unlike the real one it
// never reaches a driver, its handles are events, and it needs no administrator.

#include <string>

#include <windows.h>

namespace {

// One module at a time is enough.
std::string& module() {
    static std::string text;
    return text;
}

} // namespace

extern "C" {

__declspec(dllexport) HRESULT __stdcall pawnio_open(HANDLE* handle) {
    char closed[16] = {};
    if (GetEnvironmentVariableA("FAKE_PAWNIO_CLOSED", closed, sizeof closed) != 0) {
        return static_cast<HRESULT>(std::stoul(closed, nullptr, 16));
    }
    *handle = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    return S_OK;
}

__declspec(dllexport) HRESULT __stdcall pawnio_load(HANDLE, const UCHAR* blob, SIZE_T size) {
    module().assign(blob, blob + size);
    return module() == "refused" ? E_INVALIDARG : S_OK;
}

#ifndef FAKE_PAWNIO_INCOMPLETE
__declspec(dllexport) HRESULT __stdcall pawnio_execute(HANDLE, const char* name, const ULONG64* in, SIZE_T inCount,
                                                       ULONG64* out, SIZE_T outCount, SIZE_T* returned) {
    const bool reads = std::string(name) == "ioctl_read_msr" && inCount == 1 && outCount == 1;
    const bool writes = std::string(name) == "ioctl_write_msr" && inCount == 2 && outCount == 0;
    if (module() == "fails" || !(reads || writes) || in[0] == 0) {
        return E_FAIL;
    }
    if (reads) {
        out[0] = in[0] * 2;
    }
    *returned = module() == "more" ? outCount + 1 : module() == "less" ? 0 : outCount;
    return S_OK;
}
#endif

__declspec(dllexport) HRESULT __stdcall pawnio_close(HANDLE handle) {
    return CloseHandle(handle) ? S_OK : E_HANDLE;
}
}
