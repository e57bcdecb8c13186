#include <zel/DynamicLibrary.h>

#include <gtest/gtest.h>

namespace {

using zel::DynamicLibrary;
using zel::String;

TEST(DynamicLibrary, FindsTheSystemsModuleAndItsEntryPoints) {
    DynamicLibrary library("kernel32.dll");
    const char* entryPoint = "GetCurrentProcessId";
    if (!library.load()) {
        library = DynamicLibrary("libc.so.6");
        entryPoint = "getpid";
    }
    EXPECT_EQ(DynamicLibrary("libc.so.6").getSymbol("getpid"), nullptr) << "nothing is loaded before load";
    ASSERT_TRUE(library.load());
    EXPECT_TRUE(library.load()) << "a second time";
    void* const found = library.getSymbol(entryPoint);
    EXPECT_NE(found, nullptr);
    EXPECT_EQ(library.getSymbol("no_such_entry_point"), nullptr);
    EXPECT_EQ(library.getSymbol(nullptr), nullptr);

    const DynamicLibrary copy = library;
    library = DynamicLibrary();
    EXPECT_FALSE(library.isLoaded());
    EXPECT_EQ(copy.getSymbol(entryPoint), found);
    for (const String& name : {String(), String("no_such_module.dll"), String("./"), String(u"\xD800\u2026.so")}) {
        library = DynamicLibrary(name);
        EXPECT_FALSE(library.load()) << name;
        EXPECT_EQ(library.getSymbol(entryPoint), nullptr);
    }
}

} // namespace
