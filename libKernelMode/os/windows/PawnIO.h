#pragma once

#include <libKernelMode/DriverBackend.h>
#include <zel/DynamicLibrary.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

// Private to the library: PawnIO, a signed kernel-mode driver that users install themselves (https://pawnio.eu). It
// runs modules, which are signed too and allow only what each was written for. Those used here read the MSRs on a list
// of their own, and some of them write a few. No module gives access to physical memory or I/O ports at large.

namespace libKernelMode {

// Where PawnIO's files are looked for.
struct PawnIOFolders {
    std::filesystem::path installation; // PawnIOLib.dll, and modules beside it
    std::filesystem::path modules;      // modules that the user keeps for this library

    // The folder that PawnIO's installer noted in the registry, or else the one it installs to by default; and
    // Quarrow\modules in the folder for application data of all users (C:\ProgramData).
    static PawnIOFolders ofThisMachine();
    // The value InstallLocation of an uninstall entry; empty when there is none.
    static std::filesystem::path installLocation(HKEY root, const wchar_t* uninstallEntry);
};

// PawnIO's user-mode library, bound once, with the modules that were found.
class PawnIO {
  public:
    // Null, with the reason, when the library is not there or not complete, or there is no module.
    static std::shared_ptr<const PawnIO> bind(const PawnIOFolders& folders, std::string& reason);

    // A driver handle with the first module that the driver accepts on this machine. Null, with the reason, when it
    // refuses. What it opens must not outlive this object.
    std::unique_ptr<MsrAccess> openMsr(std::string& reason) const;

  private:
    friend class PawnIOMsrs;

    using Open = HRESULT(__stdcall*)(HANDLE* handle);
    using Load = HRESULT(__stdcall*)(HANDLE handle, const UCHAR* blob, SIZE_T size);
    using Execute = HRESULT(__stdcall*)(HANDLE handle, const char* name, const ULONG64* in, SIZE_T inCount,
                                        ULONG64* out, SIZE_T outCount, SIZE_T* returned);
    using Close = HRESULT(__stdcall*)(HANDLE handle);

    struct Module {
        std::string name;
        std::vector<UCHAR> blob;
    };

    template <class Function>
    bool bindEntryPoint(const char* name, Function& function, std::string& reason);
    void findModules(const PawnIOFolders& folders);

    zel::DynamicLibrary m_library;
    Open m_open = nullptr;
    Load m_load = nullptr;
    Execute m_execute = nullptr;
    Close m_close = nullptr;
    std::vector<Module> m_modules;
};

} // namespace libKernelMode
