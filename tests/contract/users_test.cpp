#include "platform/users.h"

#include "contract/contract.h"

namespace {

using contract::isWine;
using namespace platform;

// The user and the groups of users.
class Users : public contract::Contract {};

TEST_F(Users, TheUserHasAName) {
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

TEST_F(Users, TheUserHasOneNameInEveryAnswer) {
    onMachine([&] {
        std::wstring one;
        std::wstring other;
        EXPECT_TRUE(currentUserName(32767, one));
        EXPECT_TRUE(currentUserName(one.size() + 1, other));
        EXPECT_EQ(one, other);
    });
}

TEST_F(Users, TheAdministratorsGroupHasAName) {
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

TEST_F(Users, AUsersGroupsAreNamed) {
    onMachine([&] {
        std::wstring user;
        ASSERT_TRUE(currentUserName(32767, user));
        const LocalGroups groups = localGroupsOfUser(user, 64000);
        EXPECT_EQ(groups.status, 0U);
        EXPECT_EQ(groups.names.size(), groups.entriesRead);
        EXPECT_FALSE(groups.names.empty());
    });
}

TEST_F(Users, AUserThatDoesNotExistHasNoGroups) {
    onMachine([&] {
        if (isWine()) {
            return;  // Wine has the same groups for every name
        }
        const LocalGroups groups = localGroupsOfUser(L"zl-contract-nobody", 64000);
        EXPECT_NE(groups.status, 0U);
        EXPECT_TRUE(groups.names.empty());
    });
}

}  // namespace
