#include <windows.h>
// Needs the header above.
#include <tlhelp32.h>

#include "endtoend.h"

// Starts on a kiosk machine: each test changes the logon shell in the registry and restores it. On a real
// machine, a test that was stopped halfway would leave it without a desktop, so these tests run only under
// Wine.
namespace {

using endtoend::EndToEnd;
using endtoend::Running;
namespace fs = std::filesystem;

constexpr const wchar_t* winLogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const wchar_t* shells = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells";
constexpr const wchar_t* policies = L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies";

std::wstring textOf(HKEY root, const std::wstring& key, const wchar_t* name) {
    wchar_t text[500] = {};
    DWORD size = sizeof(text);
    return RegGetValueW(root, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &size) == ERROR_SUCCESS
               ? text
               : L"(absent)";
}

DWORD numberOf(const std::wstring& key, const wchar_t* name) {
    DWORD number = 99;
    DWORD size = sizeof(number);
    RegGetValueW(HKEY_CURRENT_USER, (policies + key).c_str(), name, RRF_RT_REG_DWORD, nullptr, &number,
                 &size);
    return number;
}

void setText(const wchar_t* key, const wchar_t* name, const std::wstring& text) {
    EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, name, REG_SZ, text.c_str(),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))),
              ERROR_SUCCESS);
}

bool isDesktopRunning() {
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    bool isFound = false;
    for (BOOL isEntry = Process32FirstW(snapshot, &entry); isEntry != 0 && !isFound;
         isEntry = Process32NextW(snapshot, &entry)) {
        isFound = lstrcmpiW(entry.szExeFile, L"Explorer.exe") == 0;
    }
    CloseHandle(snapshot);
    return isFound;
}

class Kiosk : public EndToEnd {
protected:
    void SetUp() override {
        if (!endtoend::isWine()) {
            GTEST_SKIP() << "would change the logon shell of this machine";
        }
        formerShell = textOf(HKEY_LOCAL_MACHINE, winLogon, L"Shell");
        setText(winLogon, L"Shell", L"kiosk.exe");
        setText(shells, L"KSD_SHELL", L"KIOSK.EXE");
        setText(shells, L"ADMIN_SHELL", L"explorer.exe");
        for (const wchar_t* name : {L"NoClose", L"NoLogoff"}) {
            setPolicy(L"\\Explorer", name);
        }
        for (const wchar_t* name : {L"DisableChangePassword", L"DisableLockworkstation", L"DisableTaskMgr"}) {
            setPolicy(L"\\System", name);
        }
    }
    void TearDown() override {
        if (!formerShell.empty()) {
            RegDeleteKeyW(HKEY_LOCAL_MACHINE, shells);
            setText(winLogon, L"Shell", formerShell);
        }
    }
    static void setPolicy(const std::wstring& key, const wchar_t* name) {
        const DWORD one = 1;
        EXPECT_EQ(
            RegSetKeyValueW(HKEY_CURRENT_USER, (policies + key).c_str(), name, REG_DWORD, &one, sizeof(one)),
            ERROR_SUCCESS);
    }

    std::wstring formerShell;  // empty if nothing was changed
};

// The first test, because Wine starts an explorer.exe of its own as soon as a program has windows.
TEST_F(Kiosk, AdministratorWithoutADesktopGetsOne) {
    if (!endtoend::isUserAdministrator()) {
        GTEST_SKIP() << "needs a user whom the machine lists as an administrator";
    }
    if (isDesktopRunning()) {
        GTEST_SKIP() << "needs a session without a desktop";
    }
    layOut();
    // The system looks for a program in the directory of its parent first.
    const fs::path launcherDirectory = install / L"zel";
    placeProgram(L"standin.exe", launcherDirectory / L"Explorer.exe");
    // Not launch(), because the log of a start that takes the shell role does not show its end.
    EXPECT_EQ(waitFor(begin()), 0U) << log();
    EXPECT_TRUE(eventually([&] { return fs::exists(launcherDirectory / L"standin" / L"running.txt"); }));
    EXPECT_EQ(read(launcherDirectory / L"standin" / L"command.txt"), "Explorer.exe");
    EXPECT_EQ(textOf(HKEY_LOCAL_MACHINE, winLogon, L"Shell"), L"KIOSK.EXE");  // as KSD_SHELL spells it
    for (const wchar_t* name : {L"NoClose", L"NoLogoff"}) {
        EXPECT_EQ(numberOf(L"\\Explorer", name), 0U);
    }
    for (const wchar_t* name : {L"DisableChangePassword", L"DisableLockworkstation", L"DisableTaskMgr"}) {
        EXPECT_EQ(numberOf(L"\\System", name), 0U);
    }
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
    EXPECT_TRUE(isLockFree());
    askPlatform("stop", launcherDirectory);
    EXPECT_TRUE(eventually([&] { return !isDesktopRunning(); }));
}

TEST_F(Kiosk, AdministratorWithADesktopGetsThePlatform) {
    layOut();
    const fs::path desktop = install / L"desktop" / L"Explorer.exe";
    fs::create_directories(desktop.parent_path());
    fs::copy_file(base / L"win32" / L"x86_64" / L"eclipse.exe", desktop);
    const Running explorer = beginFrom(desktop, {});
    EXPECT_EQ(launch({L"-debug"}), 0U) << log();
    EXPECT_TRUE(isPlatformRunning());
    EXPECT_EQ(textOf(HKEY_LOCAL_MACHINE, winLogon, L"Shell"), L"kiosk.exe");
    EXPECT_EQ(numberOf(L"\\Explorer", L"NoClose"), 1U);
    EXPECT_EQ(numberOf(L"\\System", L"DisableTaskMgr"), 1U);
    EXPECT_NE(TerminateProcess(explorer.process, 0), 0);
    EXPECT_EQ(waitFor(explorer), 0U);
}

TEST_F(Kiosk, OrdinaryMachineStartsWithoutRegistryChanges) {
    setText(winLogon, L"Shell", L"explorer.exe");
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_TRUE(isPlatformRunning());
    EXPECT_EQ(textOf(HKEY_LOCAL_MACHINE, winLogon, L"Shell"), L"explorer.exe");
    EXPECT_EQ(numberOf(L"\\Explorer", L"NoClose"), 1U);
    EXPECT_EQ(numberOf(L"\\System", L"DisableTaskMgr"), 1U);
}

}  // namespace
