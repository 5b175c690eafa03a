#include "platform/environment.h"

#include "contract/children.h"
#include "contract/contract.h"

namespace {

using contract::endOf;
using contract::read;
using contract::startChild;
using namespace platform;

// The variables of the environment.
class Environment : public contract::Contract {};

TEST_F(Environment, AVariableHasNoCaseAndAnEmptyValueRemovesIt) {
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

TEST_F(Environment, OneVariableLeavesTheOthersAlone) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT=one"), 0);
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT_TWO=two"), 0);
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT="), 0);
        EXPECT_EQ(environmentValue(L"ZL_CONTRACT_TWO"), L"two");
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT_TWO="), 0);
    });
}

TEST_F(Environment, AChildInheritsTheEnvironment) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT_CHILD=for you"), 0);
        EXPECT_EQ(endOf(startChild(L"variable zl_contract_child" + quoted(L"f"))), 0U);
        EXPECT_EQ(read(in(L"f")), "for you");
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT_CHILD="), 0);
        EXPECT_EQ(endOf(startChild(L"variable ZL_CONTRACT_CHILD" + quoted(L"f"))), 0U);
        EXPECT_EQ(read(in(L"f")), "(not set)");
    });
}

TEST_F(Environment, AnAssignmentNeedsANameAndAnEqualsSign) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT"), -1);
        EXPECT_EQ(putEnvironmentText(L"=x"), -1);
        EXPECT_EQ(environmentValue(L"ZL_CONTRACT_NEVER"), std::nullopt);
        EXPECT_EQ(environmentValue(L""), std::nullopt);
    });
}

TEST_F(Environment, AValueMayHoldEqualsSignsAndBlanks) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT= a=b= "), 0);
        EXPECT_EQ(environmentValue(L"ZL_CONTRACT"), L" a=b= ");
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT="), 0);
    });
}

TEST_F(Environment, AValueMayBeLongAndOfAnyCharacters) {
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

TEST_F(Environment, ANameOfAVariableMayHoldOtherLetters) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_\u00e4_\u0431=\u65e5"), 0);
        EXPECT_EQ(environmentValue(L"zl_\u00c4_\u0411"), L"\u65e5");
        EXPECT_EQ(putEnvironmentText(L"ZL_\u00c4_\u0411="), 0);
        EXPECT_EQ(environmentValue(L"ZL_\u00e4_\u0431"), std::nullopt);
    });
}

}  // namespace
