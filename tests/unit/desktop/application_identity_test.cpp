#include "desktop/application_identity.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "instance/platform_lock.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"

namespace {

using zellauncher::Arguments;
using zellauncher::PropertyList;

class ApplicationIdentity : public launchertest::OnMachine {
protected:
    PropertyList launcher;
    bool isMain = true;
    // What resolve found.
    std::wstring identity;
    bool isUsed = false;
    bool preventsPinning = false;

    void resolve(const Arguments& arguments) {
        run([&] {
            zellauncher::isMainProcess = isMain;
            zellauncher::appUserModelId = L"former";
            zellauncher::resolveApplicationIdentity(arguments, launcher);
            identity = zellauncher::appUserModelId;
            isUsed = zellauncher::useAppUserModelId;
            preventsPinning = zellauncher::preventPinning;
        });
    }
    // The identity of a process that applied `my.id`.
    std::wstring apply() {
        const simulation::ProcessId id = machine.start({L"C:\\zel\\zellauncher.exe"}, [] {
            zellauncher::appUserModelId = L"my.id";
            zellauncher::applyProcessAppId();
            return 0;
        });
        EXPECT_EQ(machine.waitFor(id).status, 0U);
        return machine.appUserModelIdOf(id);
    }
};

TEST_F(ApplicationIdentity, UnresolvedIsNotUsed) {
    run([] {
        EXPECT_EQ(zellauncher::appUserModelId, L"");
        EXPECT_FALSE(zellauncher::useAppUserModelId);
        EXPECT_FALSE(zellauncher::preventPinning);
    });
}

TEST_F(ApplicationIdentity, DefaultIsNamedAfterThePlatformWithoutPinning) {
    resolve({L"prog"});
    EXPECT_EQ(identity, L"mivel.tarsin.client.eclipse.exe");
    EXPECT_TRUE(isUsed);
    EXPECT_TRUE(preventsPinning);
    launcher = {{L"eclipse.name", L"foo.exe"}};
    resolve({L"prog", L"-config"});
    EXPECT_EQ(identity, L"mivel.tarsin.client.foo.exe");
    launcher = {{L"eclipse.name", L""}};
    resolve({L"prog"});
    EXPECT_EQ(identity, L"mivel.tarsin.client.");
}

TEST_F(ApplicationIdentity, ConfiguredIdentityMayBePinnedByTheMainProcess) {
    launcher = {{L"config.x.appID", L"abc"}};
    resolve({L"prog", L"-config", L"x"});
    EXPECT_EQ(identity, L"abc");
    EXPECT_TRUE(isUsed);
    EXPECT_FALSE(preventsPinning);
    isMain = false;
    resolve({L"prog", L"-config", L"x"});
    EXPECT_EQ(identity, L"abc");
    EXPECT_TRUE(preventsPinning);
}

TEST_F(ApplicationIdentity, MissingOrEmptyPropertyGivesTheDefault) {
    launcher = {{L"config.x.appID", L""}};
    resolve({L"prog", L"-config", L"x"});
    EXPECT_EQ(identity, L"mivel.tarsin.client.eclipse.exe");
    EXPECT_TRUE(preventsPinning);
    resolve({L"prog", L"-config", L"y"});
    EXPECT_EQ(identity, L"mivel.tarsin.client.eclipse.exe");
}

TEST_F(ApplicationIdentity, FirstWholeConfigOptionDecides) {
    launcher = {{L"config.x.appID", L"abc"}, {L"config.y.appID", L"def"}, {L"config..appID", L"empty"}};
    resolve({L"prog", L"-config", L"x", L"-config", L"y"});
    EXPECT_EQ(identity, L"abc");
    resolve({L"prog", L"-Config", L"x", L"-configuration", L"x", L"-config", L"y"});
    EXPECT_EQ(identity, L"def");
    resolve({L"prog", L"-config", L""});
    EXPECT_EQ(identity, L"empty");
    resolve({L"-config", L"x"});
    EXPECT_EQ(identity, L"mivel.tarsin.client.eclipse.exe");
    resolve({L"prog", L"-config", L"X"});
    EXPECT_EQ(identity, L"mivel.tarsin.client.eclipse.exe");
    launcher = {{L"config.-config.appID", L"odd"}};
    resolve({L"prog", L"-config", L"-config"});
    EXPECT_EQ(identity, L"odd");
}

TEST_F(ApplicationIdentity, OlderSystemsHaveNone) {
    machine.setSystemVersion(6, 0);
    launcher = {{L"config.x.appID", L"abc"}};
    resolve({L"prog", L"-config", L"x"});
    EXPECT_EQ(identity, L"");
    EXPECT_FALSE(isUsed);
    EXPECT_FALSE(preventsPinning);
    EXPECT_EQ(apply(), L"");
}

TEST_F(ApplicationIdentity, VersionsFromSixOneOnHaveOne) {
    const struct {
        std::uint32_t major;
        std::uint32_t minor;
        bool isWindows7OrLater;
    } cases[] = {{5, 2, false}, {6, 0, false}, {6, 1, true}, {7, 0, true}, {10, 0, true}};
    for (const auto& version : cases) {
        machine.setSystemVersion(version.major, version.minor);
        run([&] {
            EXPECT_EQ(zellauncher::isWindows7OrLater(), version.isWindows7OrLater)
                << version.major << "." << version.minor;
        });
    }
    machine.inject(launchertest::failing("systemVersion", platform::errorAccessDenied));
    run([] { EXPECT_FALSE(zellauncher::isWindows7OrLater()); });
}

TEST_F(ApplicationIdentity, IsAppliedToTheProcess) {
    EXPECT_EQ(apply(), L"my.id");
}

TEST_F(ApplicationIdentity, MissingFunctionOrLibraryIsNoFailure) {
    const std::set<std::string> calls = {"loadLibrary", "textFunction", "callTextFunction", "freeLibrary"};
    machine.removeAppIdFunction();
    EXPECT_EQ(apply(), L"");
    EXPECT_EQ(
        launchertest::traceOf(machine, calls),
        (std::vector<std::string>{"loadLibrary shell32.dll",
                                  "textFunction SetCurrentProcessExplicitAppUserModelID", "freeLibrary"}));
    const std::size_t before = machine.operations().size();
    machine.removeShellLibrary();
    EXPECT_EQ(apply(), L"");
    EXPECT_EQ(launchertest::traceOf(machine, calls, before),
              std::vector<std::string>{"loadLibrary shell32.dll"});
}

}  // namespace
