#include "kiosk/administrators.h"

#include <gtest/gtest.h>

#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::failing;
using launchertest::failingFrom;

class Administrators : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    bool isAdministrator(const std::wstring& user) {
        bool answer = false;
        outcome = run([&] { answer = zellauncher::isUserInAdminGroup(user); });
        return answer;
    }
};

TEST_F(Administrators, MemberOfTheLocalGroupIsAdministrator) {
    machine.setUser(L"ann", {L"Users", L"Administrators"});
    EXPECT_TRUE(isAdministrator(L"ann"));
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Administrators, MemberOfOtherGroupsIsNot) {
    machine.setUser(L"ann", {L"Users", L"administrators", L"Administrators2"});
    EXPECT_FALSE(isAdministrator(L"ann"));
    machine.setUser(L"ann", {});
    EXPECT_FALSE(isAdministrator(L"ann"));
}

TEST_F(Administrators, GroupNameIsInTheSystemsLanguage) {
    machine.setAdministratorsGroupName(L"Administratoren");
    machine.setUser(L"ann", {L"Administrators"});
    EXPECT_FALSE(isAdministrator(L"ann"));
    machine.setUser(L"ann", {L"Administratoren"});
    EXPECT_TRUE(isAdministrator(L"ann"));
}

TEST_F(Administrators, MissingGroupIdIsLogged) {
    machine.setUser(L"ann", {L"Administrators"});
    machine.inject(failing("administratorsGroupId", platform::errorAccessDenied));
    EXPECT_FALSE(isAdministrator(L"ann"));
    EXPECT_EQ(outcome.log, "ZLNCH0055E: AllocateAndInitializeSid Error for Admin group\n");
}

TEST_F(Administrators, MissingGroupNameMeansNo) {
    machine.setUser(L"ann", {L"Administrators"});
    machine.inject(failing("accountName", platform::errorAccessDenied));
    EXPECT_FALSE(isAdministrator(L"ann"));
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Administrators, GroupNameOf100CharactersDoesNotFit) {
    const std::wstring longName(100, L'g');
    machine.setAdministratorsGroupName(longName);
    machine.setUser(L"ann", {longName});
    EXPECT_FALSE(isAdministrator(L"ann"));
}

TEST_F(Administrators, UnreadableGroupsOfTheUserMeanNo) {
    machine.setUser(L"ann", {L"Administrators"});
    machine.inject(failingFrom("localGroupsOfUser", platform::errorAccessDenied));
    EXPECT_FALSE(isAdministrator(L"ann"));
}

}  // namespace
