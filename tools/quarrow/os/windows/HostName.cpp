#include <tools/quarrow/os/HostName.h>

#include <zel/String.h>

#include <windows.h>

namespace quarrow {

std::string hostName() {
    wchar_t name[256] = {};
    DWORD length = 256;
    if (::GetComputerNameExW(ComputerNameDnsHostname, name, &length) == 0) {
        return {};
    }
    return zel::String(std::u16string(name, name + length)).toUtf8();
}

} // namespace quarrow
