#include "kiosk/administrators.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"

namespace {

using launchertest::callsOf;
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
    std::size_t groupQueries() const { return callsOf(machine, "localGroupsOfUser").size(); }
    std::size_t freedIds() const { return callsOf(machine, "freeSecurityId").size(); }
};

TEST_F(Administrators, MemberOfTheLocalGroupIsAdministrator) {
    machine.setUser(L"ann", {L"Users", L"Administrators"});
    EXPECT_TRUE(isAdministrator(L"ann"));
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(groupQueries(), 1U);
    EXPECT_EQ(freedIds(), 1U);
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
    EXPECT_EQ(groupQueries(), 0U);
    EXPECT_EQ(freedIds(), 0U);
}

TEST_F(Administrators, MissingGroupNameMeansNo) {
    machine.setUser(L"ann", {L"Administrators"});
    machine.inject(failing("accountName", platform::errorAccessDenied));
    EXPECT_FALSE(isAdministrator(L"ann"));
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(groupQueries(), 0U);
    EXPECT_EQ(freedIds(), 0U);
}

TEST_F(Administrators, GroupNameMayHave99Characters) {
    for (const std::size_t length : {99U, 100U}) {
        const std::wstring name(length, L'g');
        machine.setAdministratorsGroupName(name);
        machine.setUser(L"ann", {name});
        EXPECT_EQ(isAdministrator(L"ann"), length == 99U) << length;
    }
}

TEST_F(Administrators, UnreadableGroupsOfTheUserMeanNo) {
    machine.setUser(L"ann", {L"Administrators"});
    machine.inject(failingFrom("localGroupsOfUser", platform::errorAccessDenied));
    EXPECT_FALSE(isAdministrator(L"ann"));
    EXPECT_EQ(groupQueries(), 1U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Administrators, UnknownUserIsAskedForOnce) {
    EXPECT_FALSE(isAdministrator(L"bob"));
    EXPECT_EQ(groupQueries(), 1U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Administrators, IncompleteListIsAskedForAgain) {
    machine.setUser(L"ann", {L"Users", L"Administrators"});
    machine.inject(failing("localGroupsOfUser", platform::errorMoreData));
    EXPECT_TRUE(isAdministrator(L"ann"));
    EXPECT_EQ(groupQueries(), 2U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Administrators, DenialAfterAnIncompleteListEndsTheQuery) {
    machine.setUser(L"ann", {L"Administrators"});
    machine.inject(failing("localGroupsOfUser", platform::errorMoreData));
    machine.inject(failing("localGroupsOfUser", platform::errorAccessDenied, L"", 2));
    EXPECT_FALSE(isAdministrator(L"ann"));
    EXPECT_EQ(groupQueries(), 2U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Administrators, ListIsAskedForTenTimes) {
    machine.setUser(L"ann", {L"Administrators"});
    machine.inject(failingFrom("localGroupsOfUser", platform::errorMoreData));
    EXPECT_FALSE(isAdministrator(L"ann"));
    EXPECT_EQ(groupQueries(), 10U);
    EXPECT_EQ(outcome.log, "ZELLauncher> the local groups of ann can not be read\n");
    EXPECT_EQ(callsOf(machine, "localGroupsOfUser").at(0).numbers[0], 64000U);
    EXPECT_EQ(freedIds(), 1U);
}

// 64,000 bytes hold 2,000 groups of eleven characters, no more.
TEST_F(Administrators, ListMayHave64000Bytes) {
    std::vector<std::wstring> groups(1999, L"group names");
    groups.emplace_back(L"Administrators");
    groups.front().resize(8);  // makes room for three characters more at the end
    machine.setUser(L"ann", groups);
    EXPECT_TRUE(isAdministrator(L"ann"));
    groups.front() += L'x';
    machine.setUser(L"ann", groups);
    EXPECT_FALSE(isAdministrator(L"ann"));
    EXPECT_EQ(groupQueries(), 11U);
}

}  // namespace
