#include "platform/users.h"

#include "contract/contract.h"

namespace contract {
namespace {

using namespace platform;

constexpr std::size_t longestUserName = 32767;

class Users : public Contract {};

TEST_F(Users, UserNameMustFitWithItsNul) {
    onMachine([&] {
        const std::optional<std::wstring> name = currentUserName(longestUserName);
        ASSERT_TRUE(name);
        EXPECT_FALSE(name->empty());
        EXPECT_EQ(currentUserName(name->size()), std::nullopt);
        EXPECT_TRUE(currentUserName(name->size() + 1));
    });
}

TEST_F(Users, UserNameDoesNotDependOnTheCapacity) {
    onMachine([&] {
        const std::optional<std::wstring> name = currentUserName(longestUserName);
        ASSERT_TRUE(name);
        EXPECT_EQ(currentUserName(name->size() + 1), name);
    });
}

TEST_F(Users, AdministratorsGroupHasAName) {
    onMachine([&] {
        const SecurityId id = administratorsGroupId();
        ASSERT_NE(id, SecurityId::none);
        EXPECT_NE(accountName(id, 100).value_or(L""), L"");
        EXPECT_FALSE(accountName(id, 2));
        EXPECT_FALSE(accountName(SecurityId::none, 100));
        freeSecurityId(id);
    });
}

TEST_F(Users, LocalGroupsOfTheUserAreListed) {
    onMachine([&] {
        if (!isUserOfThisMachine()) {
            GTEST_SKIP() << "the machine does not know the groups of a user of a domain";
        }
        const std::optional<std::wstring> user = currentUserName(longestUserName);
        ASSERT_TRUE(user);
        const LocalGroups groups = localGroupsOfUser(*user, 64000);
        EXPECT_TRUE(groups.hasSucceeded) << lastError();
        EXPECT_EQ(groups.names.size(), groups.entriesRead);
        EXPECT_FALSE(groups.names.empty());
    });
}

TEST_F(Users, ListThatDoesNotFitIsMoreData) {
    onMachine([&] {
        if (!isUserOfThisMachine()) {
            GTEST_SKIP() << "the machine does not know the groups of a user of a domain";
        }
        const std::optional<std::wstring> user = currentUserName(longestUserName);
        ASSERT_TRUE(user);
        const LocalGroups groups = localGroupsOfUser(*user, 1);
        EXPECT_FALSE(groups.hasSucceeded);
        EXPECT_EQ(lastError(), errorMoreData);
        EXPECT_LT(groups.entriesRead, groups.totalEntries);
        EXPECT_TRUE(groups.names.empty());
    });
}

TEST_F(Users, UnknownUserHasNoGroups) {
    SKIP_UNDER_WINE("returns the same groups for every name");
    onMachine([&] {
        const LocalGroups groups = localGroupsOfUser(L"zl-contract-nobody", 64000);
        EXPECT_FALSE(groups.hasSucceeded);
        EXPECT_EQ(groups.entriesRead, groups.totalEntries);  // not "more data"
        EXPECT_TRUE(groups.names.empty());
    });
}

}  // namespace
}  // namespace contract
