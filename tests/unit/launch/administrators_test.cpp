#include "launch/administrators.h"

#include <gtest/gtest.h>

#include "support/launcher_fixture.h"

namespace {

class Administrators : public launchertest::OnMachine {
protected:
    bool isAdministrator(const std::wstring& user) {
        bool answer = false;
        outcome = run([&] { answer = zellauncher::isUserInAdminGroup(user); });
        return answer;
    }
    void fail(const std::string& operation, platform::ErrorCode error, bool fromThenOn = false) {
        simulation::Fault fault;
        fault.operation = operation;
        fault.error = error;
        fault.fromThenOn = fromThenOn;
        machine.inject(fault);
    }
    launchertest::Outcome outcome;
};

TEST_F(Administrators, AMemberOfTheLocalGroupIsOne) {
    machine.setUser(L"ann", {L"Users", L"Administrators"});
    EXPECT_TRUE(isAdministrator(L"ann"));
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Administrators, OthersAreNot) {
    machine.setUser(L"ann", {L"Users", L"administrators", L"Administrators2"});
    EXPECT_FALSE(isAdministrator(L"ann"));
    machine.setUser(L"ann", {});
    EXPECT_FALSE(isAdministrator(L"ann"));
}

TEST_F(Administrators, TheGroupHasTheNameOfTheSystemsLanguage) {
    machine.setAdministratorsGroupName(L"Administratoren");
    machine.setUser(L"ann", {L"Administrators"});
    EXPECT_FALSE(isAdministrator(L"ann"));
    machine.setUser(L"ann", {L"Administratoren"});
    EXPECT_TRUE(isAdministrator(L"ann"));
}

TEST_F(Administrators, WithoutTheIdentifierTheAnswerIsNoWithALine) {
    machine.setUser(L"ann", {L"Administrators"});
    fail("administratorsGroupId", platform::errorAccessDenied);
    EXPECT_FALSE(isAdministrator(L"ann"));
    EXPECT_EQ(outcome.log, "ZLNCH0055E: AllocateAndInitializeSid Error for Admin group\n");
}

TEST_F(Administrators, WithoutTheGroupsNameTheAnswerIsNo) {
    machine.setUser(L"ann", {L"Administrators"});
    fail("accountName", platform::errorAccessDenied);
    EXPECT_FALSE(isAdministrator(L"ann"));
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Administrators, AGroupNameOf100CharactersDoesNotFit) {
    const std::wstring longName(100, L'g');
    machine.setAdministratorsGroupName(longName);
    machine.setUser(L"ann", {longName});
    EXPECT_FALSE(isAdministrator(L"ann"));
}

TEST_F(Administrators, WithoutTheUsersGroupsTheAnswerIsNo) {
    machine.setUser(L"ann", {L"Administrators"});
    fail("localGroupsOfUser", platform::errorAccessDenied, true);
    EXPECT_FALSE(isAdministrator(L"ann"));
}

}  // namespace
