// The tables of compiler targets against the compilers that are installed.

#include <tests/support/Compilers.h>

#include <gmock/gmock.h>

#include <iostream>

using namespace testing_support;
using libQuarrow::topology::FeatureSet;
using quarrow::Compiler;

namespace {

class Compilers : public testing::Test {
  protected:
    void SetUp() override {
        if (compilers.empty()) {
            GTEST_SKIP() << "no compiler to ask";
        }
    }

    const std::vector<InstalledCompiler> compilers = installedCompilers();
};

// Nothing that a target enables may be missing from the table: a machine without it would get code that it cannot run.
TEST_F(Compilers, EnableWhatTheTablesSayOfEachTarget) {
    std::size_t asked = 0;
    for (const InstalledCompiler& compiler : compilers) {
        for (const std::string& target : targetsOf(compiler.compiler, compiler.version)) {
            SCOPED_TRACE(compiler.command + " " + target);
            const FeatureSet ours = featuresOfTarget(compiler.compiler, compiler.version, target);
            std::set<std::string> unknown;
            const auto theirs =
                featuresIn(compiler, (ours.contains("lm") ? "-march=" : "-m32 -march=") + target, unknown);
            EXPECT_TRUE(theirs.count("accepted")) << "the compiler has no such target";
            EXPECT_THAT(unknown, testing::IsEmpty());
            for (const std::string& feature : theirs) {
                EXPECT_TRUE(feature == "accepted" || ours.contains(feature)) << "the table lacks " << feature;
            }
            ++asked;
        }
    }
    EXPECT_GT(asked, 50u);
    std::cout << asked << " targets of " << compilers.size() << " compilers\n";
}

// A choice with everything switched off that can be is accepted, and enables nothing more than the machine has.
TEST_F(Compilers, TakeEverySwitch) {
    for (const InstalledCompiler& compiler : compilers) {
        for (const char* target :
             {"icelake-server", "tigerlake", "sapphirerapids", "alderlake", "tremont", "bdver4", "znver3"}) {
            quarrow::FleetMachine machine;
            for (const auto name : featuresOfTarget(compiler.compiler, compiler.version, target).names()) {
                machine.usable.insert({name});
            }
            for (const char* hidden :
                 {"sgx", "pku", "xsaves", "xsavec", "clzero", "waitpkg", "amx_tile", "amx_int8", "amx_bf16", "uintr",
                  "shstk", "fsgsbase", "aeskle", "aes_wide_kl", "prefetchi"}) {
                FeatureSet one;
                one.insert({hidden});
                machine.usable = machine.usable - one;
            }
            const auto choice = choiceFor(compiler.compiler, compiler.version, machine, {target});
            ASSERT_TRUE(choice);
            SCOPED_TRACE(compiler.command + " for " + target + ": " + choice->flags());
            std::set<std::string> unknown;
            const auto theirs = featuresIn(compiler, choice->flags(), unknown);
            EXPECT_TRUE(theirs.count("accepted"));
            for (const std::string& feature : theirs) {
                EXPECT_TRUE(feature == "accepted" || machine.usable.contains(feature)) << feature;
            }
        }
    }
}

} // namespace
