#include "platform/session.h"

#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/registry.h"

namespace {

using namespace platform;

// What the supervision of a locked-down desktop and the role of a shell believe.
class Session : public contract::Contract {
protected:
    static RegistryKey openScratch(std::uint32_t access) {
        RegistryKey key = RegistryKey::none;
        EXPECT_EQ(openRegistryKey(RegistryRoot::currentUser, contract::registryScratch, access, key), 0U);
        return key;
    }
    static std::wstring valueOf(const std::wstring& name) {
        const RegistryKey key = openScratch(registryQueryValue);
        std::uint32_t size = 1000;
        std::wstring text = L"(absent)";
        queryRegistryText(key, name, size, text);
        closeRegistryKey(key);
        return text;
    }
};

TEST_F(Session, AValueIsMadeAndReplaced) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryQueryValue | registrySetValue);
        EXPECT_EQ(setRegistryText(key, L"Shell", L"first.exe"), 0U);
        EXPECT_EQ(valueOf(L"SHELL"), L"first.exe");
        EXPECT_EQ(setRegistryText(key, L"shell", L"\u65e5\u672c"), 0U);
        EXPECT_EQ(valueOf(L"Shell"), L"\u65e5\u672c");
        std::uint32_t size = 6;
        std::wstring text;
        EXPECT_EQ(queryRegistryText(key, L"Shell", size, text), 0U);  // two units and the NUL
        EXPECT_EQ(size, 6U);
        closeRegistryKey(key);
    });
}

TEST_F(Session, AnEmptyTextIsAValue) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryAllAccess);
        EXPECT_EQ(setRegistryText(key, L"Shell", L""), 0U);
        EXPECT_EQ(valueOf(L"Shell"), L"");
        closeRegistryKey(key);
    });
}

TEST_F(Session, ANumberTakesFourBytes) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryAllAccess);
        EXPECT_EQ(setRegistryNumber(key, L"NoClose", 0), 0U);
        std::uint32_t size = 3;
        std::wstring text;
        EXPECT_EQ(queryRegistryText(key, L"NoClose", size, text), 234U);
        EXPECT_EQ(size, 4U);
        closeRegistryKey(key);
    });
}

TEST_F(Session, AKeyThatWasOpenedForReadingTakesNoValue) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryQueryValue);
        EXPECT_EQ(setRegistryText(key, L"Shell", L"x"), errorAccessDenied);
        EXPECT_EQ(setRegistryNumber(key, L"NoClose", 0), errorAccessDenied);
        EXPECT_EQ(valueOf(L"Shell"), L"(absent)");
        closeRegistryKey(key);
    });
}

TEST_F(Session, AKeyThatIsNoneTakesAndGivesNothing) {
    onMachine([&] {
        std::uint32_t size = 100;
        std::wstring text;
        EXPECT_EQ(setRegistryText(RegistryKey::none, L"Shell", L"x"), errorInvalidHandle);
        EXPECT_EQ(queryRegistryText(RegistryKey::none, L"Shell", size, text), errorInvalidHandle);
        closeRegistryKey(RegistryKey::none);
    });
}

TEST_F(Session, AProcessCanBeOpenedByItsNumberForItsExitCode) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(24, 1500), {}, child));
        const Handle process = openProcess(child.processId);
        ASSERT_NE(process, Handle::none);
        EXPECT_EQ(processExitCode(process), exitCodeStillActive);
        for (int i = 0; i < 100 && processExitCode(process) == exitCodeStillActive; ++i) {
            sleepMilliseconds(100);
        }
        EXPECT_EQ(processExitCode(process), 24U);
        closeHandle(process);
    });
}

TEST_F(Session, ANumberThatNobodyHasCannotBeOpened) {
    onMachine([&] {
        EXPECT_EQ(openProcess(0x7FFFFFF0), Handle::none);
        EXPECT_EQ(lastError(), errorInvalidParameter);
        EXPECT_EQ(processExitCode(Handle::none), std::nullopt);
    });
}

TEST_F(Session, AProgramWithoutWindowsIsNotWaitedFor) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(0, 3000), {}, child));
        const std::uint32_t before = tickCount();
        waitForInputIdle(child.process, 1000);
        waitForInputIdle(Handle::none, 1000);
        EXPECT_LT(tickCount() - before, 2500U);
        EXPECT_FALSE(hasProcessEnded(child.process));
    });
}

TEST_F(Session, ThePrivilegeToShutDownIsEnabledAndTakenBack) {
    onMachine([&] {
        const Handle token = openOwnToken();
        ASSERT_NE(token, Handle::none);
        const Privilege privilege = findPrivilege(L"SeShutdownPrivilege");
        EXPECT_NE(privilege, Privilege::none);
        adjustPrivilege(token, privilege, true);
        EXPECT_EQ(lastError(), errorSuccess);
        adjustPrivilege(token, privilege, false);
        EXPECT_EQ(lastError(), errorSuccess);
        closeHandle(token);
    });
}

TEST_F(Session, APrivilegeThatDoesNotExistIsNotFoundAndNotGiven) {
    onMachine([&] {
        EXPECT_EQ(findPrivilege(L"SeNeverPrivilege"), Privilege::none);
        EXPECT_EQ(lastError(), 1313U);
        const Handle token = openOwnToken();
        adjustPrivilege(token, Privilege::none, true);
        EXPECT_EQ(lastError(), 1300U);
        closeHandle(token);
    });
}

TEST_F(Session, WithoutATokenNoPrivilegeIsGiven) {
    onMachine([&] {
        adjustPrivilege(Handle::none, findPrivilege(L"SeShutdownPrivilege"), true);
        EXPECT_EQ(lastError(), errorInvalidHandle);
    });
}

// Without one the call costs nothing that a user could notice.
TEST_F(Session, WordsForADebuggerThatIsNotThereAreLost) {
    onMachine([&] {
        const std::uint32_t before = tickCount();
        for (int i = 0; i < 100; ++i) {
            sendToDebugger(L"nobody listens");
        }
        EXPECT_LT(tickCount() - before, 5000U);
    });
}

}  // namespace
