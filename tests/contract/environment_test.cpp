#include "platform/environment.h"

#include "contract/children.h"
#include "contract/contract.h"

namespace contract {
namespace {

using namespace platform;

class Environment : public Contract {};

TEST_F(Environment, NamesIgnoreCaseAndAnEmptyValueRemoves) {
    onMachine([&] {
        EXPECT_TRUE(putEnvironmentText(L"ZL_Contract=one=two"));
        EXPECT_EQ(environmentValue(L"zl_CONTRACT"), L"one=two");
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT=x"));
        EXPECT_EQ(environmentValue(L"ZL_Contract"), L"x");
        EXPECT_TRUE(putEnvironmentText(L"zl_contract="));
        EXPECT_EQ(environmentValue(L"ZL_Contract"), std::nullopt);
        EXPECT_TRUE(putEnvironmentText(L"zl_contract="));
    });
}

TEST_F(Environment, ExistingVariableKeepsTheCaseOfItsName) {
    SKIP_UNDER_WINE("gives it the new name");
    onMachine([&] {
        EXPECT_TRUE(putEnvironmentText(L"Zl_Contract=one"));
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT=two"));
        EXPECT_EQ(spellingsOf(L"ZL_CONTRACT"), std::vector<std::wstring>{L"Zl_Contract"});
        EXPECT_EQ(environmentValue(L"zl_contract"), L"two");
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT="));
        EXPECT_EQ(spellingsOf(L"ZL_CONTRACT"), std::vector<std::wstring>());
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT=three"));
        EXPECT_EQ(spellingsOf(L"ZL_CONTRACT"), std::vector<std::wstring>{L"ZL_CONTRACT"});
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT="));
    });
}

TEST_F(Environment, RemovingAVariableKeepsOthersWithLongerNames) {
    onMachine([&] {
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT=one"));
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT_TWO=two"));
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT="));
        EXPECT_EQ(environmentValue(L"ZL_CONTRACT_TWO"), L"two");
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT_TWO="));
    });
}

TEST_F(Environment, ChildInheritsTheEnvironment) {
    onMachine([&] {
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT_CHILD=for you"));
        EXPECT_EQ(runChild(L"variable zl_contract_child" + quoted(L"f")), 0U);
        EXPECT_EQ(read(in(L"f")), "for you");
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT_CHILD="));
        EXPECT_EQ(runChild(L"variable ZL_CONTRACT_CHILD" + quoted(L"f")), 0U);
        EXPECT_EQ(read(in(L"f")), "(not set)");
    });
}

TEST_F(Environment, AssignmentNeedsANameAndAnEqualsSign) {
    onMachine([&] {
        EXPECT_FAILS(putEnvironmentText(L"ZL_CONTRACT"), errorInvalidParameter);
        EXPECT_FAILS(putEnvironmentText(L"=x"), errorInvalidParameter);
        EXPECT_EQ(environmentValue(L"ZL_CONTRACT_NEVER"), std::nullopt);
        EXPECT_EQ(environmentValue(L""), std::nullopt);
    });
}

TEST_F(Environment, ValueMayHoldEqualsSignsAndBlanks) {
    onMachine([&] {
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT= a=b= "));
        EXPECT_EQ(environmentValue(L"ZL_CONTRACT"), L" a=b= ");
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT="));
    });
}

TEST_F(Environment, LongNonAsciiValueIsKept) {
    onMachine([&] {
        for (const std::size_t length :
             {std::size_t{254}, std::size_t{255}, std::size_t{256}, std::size_t{30000}}) {
            const std::wstring value(length, L'\u65e5');
            EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT=" + value));
            EXPECT_EQ(environmentValue(L"ZL_CONTRACT"), value);
        }
        EXPECT_TRUE(putEnvironmentText(L"ZL_CONTRACT="));
    });
}

TEST_F(Environment, NameMayHoldNonAsciiLetters) {
    onMachine([&] {
        EXPECT_TRUE(putEnvironmentText(L"ZL_\u00e4_\u0431=\u65e5"));
        EXPECT_EQ(environmentValue(L"zl_\u00c4_\u0411"), L"\u65e5");
        EXPECT_TRUE(putEnvironmentText(L"ZL_\u00c4_\u0411="));
        EXPECT_EQ(environmentValue(L"ZL_\u00e4_\u0431"), std::nullopt);
    });
}

}  // namespace
}  // namespace contract
