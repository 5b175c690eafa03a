#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "endtoend.h"
#include "kiosk/exit_data.h"
#include "kiosk/termination.h"
#include "support/text.h"

// What the launcher does after a supervised platform has ended with 0, with a real file `.exitData`. Under
// Wine every user is an administrator, whom the launcher does not supervise, so these tests call its code.
namespace {

struct SessionEnd {
    std::uint32_t how = 0;
    std::uint32_t reason = 0;
    bool isPrivileged = false;
};

std::vector<SessionEnd> sessionEnds;
int reruns = 0;

// Whether the user may shut the system down, once the privilege is enabled. Servers deny it to ordinary
// users.
bool mayEnableShutdownPrivilege() {
    HANDLE token = nullptr;
    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    EXPECT_NE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES, &token), 0);
    EXPECT_NE(LookupPrivilegeValueW(nullptr, L"SeShutdownPrivilege", &privileges.Privileges[0].Luid), 0);
    // Without attributes the privilege stays disabled.
    EXPECT_NE(AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr), 0);
    const bool hasPrivilege = GetLastError() != ERROR_NOT_ALL_ASSIGNED;
    CloseHandle(token);
    return hasPrivilege;
}

// Whether this process may shut the system down at the moment.
bool hasShutdownPrivilege() {
    HANDLE token = nullptr;
    PRIVILEGE_SET privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Control = PRIVILEGE_SET_ALL_NECESSARY;
    privileges.Privilege[0].Attributes = SE_PRIVILEGE_ENABLED;
    BOOL isEnabled = FALSE;
    EXPECT_NE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token), 0);
    EXPECT_NE(LookupPrivilegeValueW(nullptr, L"SeShutdownPrivilege", &privileges.Privilege[0].Luid), 0);
    EXPECT_NE(PrivilegeCheck(token, &privileges, &isEnabled), 0);
    CloseHandle(token);
    return isEnabled != FALSE;
}

}  // namespace

// The linker puts this in the place of platform::endSession.
extern "C" void __wrap__ZN8platform10endSessionEjj(std::uint32_t how, std::uint32_t reason);
extern "C" void __wrap__ZN8platform10endSessionEjj(std::uint32_t how, std::uint32_t reason) {
    sessionEnds.push_back({how, reason, hasShutdownPrivilege()});
}

// The launcher starts the platform again here.
void zellauncher::rerunCommand() {
    ++reruns;
}

namespace {

namespace fs = std::filesystem;

class ExitData : public endtoend::EndToEnd {
protected:
    ExitData() {
        sessionEnds.clear();
        reruns = 0;
        fs::create_directories(home);
        former = fs::current_path();
        fs::current_path(home);  // HOMEPATH has no drive
        SetEnvironmentVariableW(L"HOMEPATH", home.wstring().substr(2).c_str());
    }
    ~ExitData() override { fs::current_path(former); }

    void endPlatform() {
        zellauncher::settleExitDataPath();
        zellauncher::HandleTermination(0);
    }
    void endPlatform(const std::string& content) {
        write(file, content);
        endPlatform();
        EXPECT_EQ(read(file), launchertest::withLineFeeds(content));
    }

    const fs::path home = root / L"\u65e5\u672c";
    const fs::path file = home / L".exitData";
    fs::path former;
};

TEST_F(ExitData, LogoffEndsTheSession) {
    for (const char* content : {"LOGOFF", "logoff\r\n", "LogOff\nSHUTDOWN\n"}) {
        sessionEnds.clear();
        endPlatform(content);
        ASSERT_EQ(sessionEnds.size(), 1U) << content;
        EXPECT_EQ(sessionEnds[0].how, 4U);
        EXPECT_EQ(sessionEnds[0].reason, 0U);
    }
    EXPECT_EQ(reruns, 0);
}

TEST_F(ExitData, ShutdownHasThePrivilegeForAMoment) {
    if (!mayEnableShutdownPrivilege()) {
        GTEST_SKIP() << "the user may not shut this machine down";
    }
    endPlatform("Shutdown\r\n");
    ASSERT_EQ(sessionEnds.size(), 1U);
    EXPECT_EQ(sessionEnds[0].how, 5U);
    EXPECT_EQ(sessionEnds[0].reason, 0x40000U);
    EXPECT_TRUE(sessionEnds[0].isPrivileged);
    EXPECT_FALSE(hasShutdownPrivilege());
    EXPECT_EQ(reruns, 0);
}

TEST_F(ExitData, AnyOtherWordStartsThePlatformAgain) {
    for (const char* content : {"", "LOGOFF ", " LOGOFF", "\r\nLOGOFF\r\n", "LOGOF", "bye"}) {
        reruns = 0;
        endPlatform(content);
        EXPECT_EQ(reruns, 1) << content;
    }
    EXPECT_TRUE(sessionEnds.empty());
}

TEST_F(ExitData, MissingFileStartsThePlatformAgain) {
    endPlatform();
    EXPECT_EQ(reruns, 1);
    EXPECT_TRUE(sessionEnds.empty());
}

TEST_F(ExitData, RestartLooksForAnotherPlatform) {
    if (!whyNoSupervision().empty()) {
        GTEST_SKIP() << whyNoSupervision();
    }
    endPlatform("restart\r\n");
    EXPECT_EQ(reruns, 0);
    EXPECT_TRUE(sessionEnds.empty());
}

}  // namespace
