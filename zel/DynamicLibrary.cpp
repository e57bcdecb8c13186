#include <zel/DynamicLibrary.h>

// With the standard library's paths, so that Boost.DLL needs no compiled Boost library.
#define BOOST_DLL_USE_STD_FS
#include <boost/dll/shared_library.hpp>

#include <filesystem>
#include <system_error>
#include <utility>

namespace zel {

struct DynamicLibrary::Module {
    boost::dll::shared_library library;
};

DynamicLibrary::DynamicLibrary(String name) : m_name(std::move(name)) {}

bool DynamicLibrary::load() {
    if (!isLoaded() && !m_name.isEmpty()) {
        std::error_code failed;
        const auto module = std::make_shared<Module>();
        module->library.load(std::filesystem::u8path(m_name.toUtf8()), failed,
                             boost::dll::load_mode::search_system_folders);
        if (!failed) {
            m_module = module;
        }
    }
    return isLoaded();
}

void* DynamicLibrary::getSymbol(const char* symbol) const {
    if (!isLoaded() || symbol == nullptr || !m_module->library.has(symbol)) {
        return nullptr;
    }
    // The address alone counts; what stands there only the caller knows.
    return &m_module->library.get<unsigned char>(symbol);
}

} // namespace zel
