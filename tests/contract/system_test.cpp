#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/console.h"
#include "platform/desktop.h"
#include "platform/environment.h"
#include "platform/interprocess.h"
#include "platform/process.h"
#include "platform/registry.h"
#include "platform/users.h"

namespace {

using namespace platform;

class System : public contract::Contract {
protected:
    // Waits for a child, at most ten seconds.
    static bool hasEndedInTime(Handle process) {
        for (int i = 0; i < 100 && !hasProcessEnded(process); ++i) {
            sleepMilliseconds(100);
        }
        return hasProcessEnded(process);
    }
};

TEST_F(System, AVariableHasNoCaseAndAnEmptyValueRemovesIt) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_Contract=one=two"), 0);
        EXPECT_EQ(environmentValue(L"zl_CONTRACT"), L"one=two");
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT=x"), 0);
        EXPECT_EQ(environmentValue(L"ZL_Contract"), L"x");
        EXPECT_EQ(putEnvironmentText(L"zl_contract="), 0);
        EXPECT_EQ(environmentValue(L"ZL_Contract"), std::nullopt);
        EXPECT_EQ(putEnvironmentText(L"zl_contract="), 0);
    });
}

TEST_F(System, AnAssignmentNeedsANameAndAnEqualsSign) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT"), -1);
        EXPECT_EQ(putEnvironmentText(L"=x"), -1);
        EXPECT_EQ(environmentValue(L"ZL_CONTRACT_NEVER"), std::nullopt);
        EXPECT_EQ(environmentValue(L""), std::nullopt);
    });
}

TEST_F(System, AValueMayBeLongAndOfAnyCharacters) {
    onMachine([&] {
        for (const std::size_t length :
             {std::size_t{254}, std::size_t{255}, std::size_t{256}, std::size_t{30000}}) {
            const std::wstring value(length, L'\u65e5');
            EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT=" + value), 0);
            EXPECT_EQ(environmentValue(L"ZL_CONTRACT"), value);
        }
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT="), 0);
    });
}

TEST_F(System, TimeGoesForward) {
    onMachine([&] {
        const std::uint32_t before = tickCount();
        sleepMilliseconds(50);
        EXPECT_GE(tickCount() - before, 30U);  // a tick may take 16 milliseconds
        EXPECT_LT(tickCount() - before, 60000U);
        const LocalTime now = localTime();
        EXPECT_GE(now.year, 2020);
        EXPECT_TRUE(now.month >= 1 && now.month <= 12 && now.day >= 1 && now.day <= 31);
        EXPECT_TRUE(now.hour < 24 && now.minute < 60 && now.second < 60 && now.milliseconds < 1000);
        EXPECT_TRUE(now.dayOfWeek >= 0 && now.dayOfWeek < 7);
    });
}

TEST_F(System, AChildRunsAndLeavesItsCode) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(7, 400), {}, child)) << lastError();
        EXPECT_NE(child.processId, 0U);
        EXPECT_FALSE(hasProcessEnded(child.process));
        EXPECT_EQ(processExitCode(child.process), exitCodeStillActive);
        EXPECT_TRUE(hasEndedInTime(child.process));
        EXPECT_EQ(processExitCode(child.process), 7U);
        closeHandle(child.process);
        closeHandle(child.thread);
    });
}

TEST_F(System, AChildTakesATitleAndFlags) {
    onMachine([&] {
        StartInformation start;
        start.flags = startPreventPinning | startTitleIsAppId;
        start.title = L"my.id";
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(0, 0), start, child)) << lastError();
        EXPECT_TRUE(hasEndedInTime(child.process));
    });
}

TEST_F(System, WhatCannotBeStartedIsToldApart) {
    onMachine([&] {
        ChildProcess child;
        EXPECT_FAILS(createProcess(L"\"" + in(L"gone.exe") + L"\" x", {}, child), errorFileNotFound);
        contract::write(in(L"text.exe"), "no program");
        EXPECT_FAILS(createProcess(L"\"" + in(L"text.exe") + L"\"", {}, child), 193U);
        EXPECT_FALSE(createProcess(L"", {}, child));
        EXPECT_EQ(child.processId, 0U);
    });
}

TEST_F(System, ACommandHasAtMost32766Characters) {
    onMachine([&] {
        const std::wstring command = contract::childCommand(0, 0) + L" ";
        ChildProcess child;
        EXPECT_FAILS(createProcess(command + std::wstring(32767 - command.size(), L' '), {}, child),
                     errorFileNameTooLong);
        EXPECT_TRUE(createProcess(command + std::wstring(32766 - command.size(), L' '), {}, child))
            << lastError();
    });
}

TEST_F(System, WhatIsNoProcessHasNoExitCode) {
    onMachine([&] {
        EXPECT_EQ(processExitCode(Handle::none), std::nullopt);
        EXPECT_FALSE(hasProcessEnded(Handle::none));
    });
}

TEST_F(System, TheProcessListHoldsThisProcess) {
    onMachine([&] {
        const Handle snapshot = processSnapshot();
        ASSERT_NE(snapshot, Handle::none);
        bool isListed = false;
        ProcessEntry entry;
        for (bool more = firstProcess(snapshot, entry); more; more = nextProcess(snapshot, entry)) {
            isListed = isListed ||
                       (entry.processId == currentProcessId() && entry.executableName == L"contract.exe");
        }
        EXPECT_TRUE(isListed);
        closeHandle(snapshot);
    });
}

TEST_F(System, TheProgramIsTheFirstWord) {
    onMachine([&] {
        const std::vector<std::wstring> words = commandLineArguments();
        ASSERT_FALSE(words.empty());
        EXPECT_TRUE(words[0].ends_with(L"contract.exe"));
        removeCurrentDirectoryFromLibrarySearch();
    });
}

TEST_F(System, ASemaphoreIsFoundByItsName) {
    onMachine([&] {
        const std::uint32_t access = accessReadControl | accessSemaphoreModifyState;
        const Handle handle = openSemaphore(L"Global\\contract", access);
        EXPECT_NE(handle, Handle::none);
        closeHandle(handle);
        EXPECT_EQ(openSemaphore(L"Global\\contract-never", access), Handle::none);
        EXPECT_EQ(lastError(), errorFileNotFound);
        EXPECT_EQ(openSemaphore(L"Global\\CONTRACT", access), Handle::none);  // names of objects have a case
    });
}

TEST_F(System, TheUserHasAName) {
    onMachine([&] {
        std::wstring name;
        ASSERT_TRUE(currentUserName(32767, name));
        EXPECT_FALSE(name.empty());
        std::wstring untouched = L"untouched";
        EXPECT_FALSE(currentUserName(name.size(), untouched));
        EXPECT_EQ(untouched, L"untouched");
        EXPECT_TRUE(currentUserName(name.size() + 1, untouched));
    });
}

TEST_F(System, TheAdministratorsGroupHasAName) {
    onMachine([&] {
        const SecurityId id = administratorsGroupId();
        ASSERT_NE(id, SecurityId::none);
        std::wstring name;
        EXPECT_TRUE(accountName(id, 100, name));
        EXPECT_FALSE(name.empty());
        EXPECT_FALSE(accountName(id, 2, name));
        EXPECT_FALSE(accountName(SecurityId::none, 100, name));
        freeSecurityId(id);
    });
}

TEST_F(System, AUsersGroupsAreNamed) {
    onMachine([&] {
        std::wstring user;
        ASSERT_TRUE(currentUserName(32767, user));
        const LocalGroups groups = localGroupsOfUser(user, 64000);
        EXPECT_EQ(groups.status, 0U);
        EXPECT_EQ(groups.names.size(), groups.entriesRead);
        EXPECT_FALSE(groups.names.empty());
    });
}

TEST_F(System, TheRegistryTellsWhatIsThere) {
    onMachine([&] {
        const std::wstring path = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon";
        RegistryKey key = RegistryKey::none;
        ASSERT_EQ(openRegistryKey(RegistryRoot::localMachine, path, registryQueryValue, key), 0U);
        std::uint32_t size = 1000;
        std::wstring text;
        EXPECT_EQ(queryRegistryText(key, L"SHELL", size, text), 0U);
        EXPECT_EQ(text, L"explorer.exe");
        EXPECT_EQ(size, 26U);
        size = 4;
        EXPECT_EQ(queryRegistryText(key, L"Shell", size, text), 234U);
        EXPECT_EQ(size, 26U);
        EXPECT_EQ(queryRegistryText(key, L"Never", size, text), 2U);
        closeRegistryKey(key);
        EXPECT_EQ(openRegistryKey(RegistryRoot::localMachine, path + L"\\Never", registryQueryValue, key),
                  2U);
        EXPECT_EQ(key, RegistryKey::none);
        closeRegistryKey(key);
    });
}

TEST_F(System, TheVersionIsThatOfTheSystem) {
    onMachine([&] {
        std::uint32_t major = 0;
        std::uint32_t minor = 0;
        EXPECT_TRUE(systemVersion(major, minor));
        EXPECT_TRUE(major > 6 || (major == 6 && minor >= 1));
    });
}

TEST_F(System, FunctionsAreFoundAtRunTime) {
    onMachine([&] {
        const Library shell = loadLibrary(L"shell32.dll");
        ASSERT_NE(shell, Library::none);
        const TextFunction function = textFunction(shell, "SetCurrentProcessExplicitAppUserModelID");
        EXPECT_NE(function, TextFunction::none);
        callTextFunction(function, L"contract.id");
        EXPECT_EQ(textFunction(shell, "NeverExported"), TextFunction::none);
        freeLibrary(shell);
        EXPECT_EQ(loadLibrary(L"zl-never.dll"), Library::none);
    });
}

TEST_F(System, ErrorsHaveTextsThatEndALine) {
    onMachine([&] {
        EXPECT_TRUE(errorText(errorFileNotFound).ends_with(L"\r\n"));
        EXPECT_TRUE(errorText(errorAccessDenied).ends_with(L"\r\n"));
        EXPECT_NE(errorText(errorFileNotFound), errorText(errorAccessDenied));
        EXPECT_EQ(errorText(0x2FFFFFFF), L"");
    });
}

TEST_F(System, WithoutAConsoleNothingFails) {
    onMachine([&] {
        const std::wstring title = consoleTitle(4096);
        setConsoleTitle(title);
        hideWindow(Window::none);
        EXPECT_EQ(findWindow(L"a title that no window has"), Window::none);
    });
}

}  // namespace
