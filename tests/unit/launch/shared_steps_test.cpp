#include "launch/shared_steps.h"

#include <gtest/gtest.h>

#include "foundation/log_channel.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"

namespace {

bool isJvmRootFound = true;

}  // namespace

// The linker puts the first in the place of resolveJvmRoot, which always has a value, and gives the original
// the name of the second.
std::optional<zellauncher::JvmRoot> replacement(zellauncher::PropertyList&, const zellauncher::Arguments&,
                                                const std::wstring&) asm("__wrap_" RESOLVE_JVM_ROOT);
std::optional<zellauncher::JvmRoot> original(zellauncher::PropertyList&, const zellauncher::Arguments&,
                                             const std::wstring&) asm("__real_" RESOLVE_JVM_ROOT);

std::optional<zellauncher::JvmRoot> replacement(zellauncher::PropertyList& zelInstallArray,
                                                const zellauncher::Arguments& arguments,
                                                const std::wstring& zelHome) {
    return isJvmRootFound ? original(zelInstallArray, arguments, zelHome) : std::nullopt;
}

namespace {

class ResolvingTheJvm : public launchertest::OnMachine {
protected:
    zellauncher::LaunchContext context;

    ResolvingTheJvm() {
        context.zelHome = L"C:\\Apps\\framework\\Client";
        machine.writeFile(context.zelHome + L"\\zel\\deploy\\jvm.properties", "jvm.name=x\r\n");
    }
    ~ResolvingTheJvm() override { isJvmRootFound = true; }

    std::string resolve() {
        return runQuietly([this] {
                   zellauncher::resolveJvm(context);
                   zellauncher::logDebug("only with the debug flag");
               })
            .log;
    }
};

TEST_F(ResolvingTheJvm, RootIsKeptAndItsPropertiesAreLoaded) {
    resolve();
    EXPECT_EQ(context.jvmRoot.jvmPropertiesPath, L"C:/Apps/framework/Client/zel/deploy/jvm.properties");
    const std::wstring* name = zellauncher::lookupProperty(L"jvm.name", context.zelInstallArray);
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(*name, L"x");
}

TEST_F(ResolvingTheJvm, WithoutARootNothingIsLoaded) {
    isJvmRootFound = false;
    EXPECT_EQ(resolve(),
              "ZLNCH0125I: No jvm.properties file was loaded. A default file should be at "
              "\"${zel.home}/zel/deploy\"\n");
    EXPECT_TRUE(context.zelInstallArray.empty());
    EXPECT_TRUE(launchertest::callsOf(machine, "openStream", L"jvm.properties").empty());
}

}  // namespace
