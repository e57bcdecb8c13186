#include <tools/quarrow/os/HostName.h>

#include <zel/String.h>

#include <windows.h>

namespace quarrow {

std::string hostName() {
    wchar_t name[256] = {};
    DWORD length = 256;
    return ::GetComputerNameExW(ComputerNameDnsHostname, name, &length) != 0 ? zel::String(name).toUtf8()
                                                                             : std::string();
}

} // namespace quarrow
