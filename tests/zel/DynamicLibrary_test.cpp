#include <zel/DynamicLibrary.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using zel::DynamicLibrary;
using zel::String;

// The first of them that loads is the system's; a program runs on one of the systems only.
DynamicLibrary systemLibrary() {
    for (const char* const name : {"kernel32.dll", "libc.so.6"}) {
        DynamicLibrary library{String(name)};
        if (library.load()) {
            return library;
        }
    }
    return {};
}

TEST(DynamicLibrary, FindsTheSystemsModulesAndTheirEntryPoints) {
    DynamicLibrary library = systemLibrary();
    ASSERT_TRUE(library.isLoaded());
    EXPECT_TRUE(library.load()) << "a second time";
    const void* const found[] = {library.getSymbol("GetCurrentProcessId"), library.getSymbol("getpid")};
    EXPECT_NE(found[0] == nullptr, found[1] == nullptr);
    EXPECT_EQ(library.getSymbol("no_such_entry_point"), nullptr);
    EXPECT_EQ(library.getSymbol(nullptr), nullptr);

    const DynamicLibrary copy = library;
    library = DynamicLibrary();
    EXPECT_FALSE(library.isLoaded());
    EXPECT_EQ(copy.getSymbol("getpid"), found[1]);
    EXPECT_EQ(copy.getSymbol("GetCurrentProcessId"), found[0]);
}

TEST(DynamicLibrary, AnswersFalseForWhatIsNotThere) {
    for (const String& name : {String(), String("no_such_module.dll"), String("./"), String(u"\xD800\u2026.so")}) {
        DynamicLibrary library(name);
        EXPECT_EQ(library.getSymbol("getpid"), nullptr) << "nothing is loaded before load";
        EXPECT_FALSE(library.load()) << name;
        EXPECT_EQ(library.getSymbol("getpid"), nullptr);
    }
}

} // namespace
