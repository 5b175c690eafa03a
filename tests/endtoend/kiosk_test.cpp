#include <windows.h>

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

// Only the simulated machine can test an administrator without a desktop: Wine starts an explorer.exe as
// soon as a program has windows.
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
