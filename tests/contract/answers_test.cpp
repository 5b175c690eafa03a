#include "contract/children.h"
#include "contract/contract.h"
#include "platform/clock.h"
#include "platform/console.h"
#include "platform/environment.h"
#include "platform/registry.h"
#include "platform/users.h"

// What the system answers to those who only ask.
namespace {

using contract::isWine;
using namespace platform;

constexpr const wchar_t* winlogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon";

class Answers : public contract::Contract {};

TEST_F(Answers, NamesInTheRegistryHaveNoCase) {
    onMachine([&] {
        RegistryKey key = RegistryKey::none;
        EXPECT_EQ(openRegistryKey(RegistryRoot::localMachine,
                                  L"SOFTWARE\\MICROSOFT\\Windows nt\\currentversion\\WINLOGON",
                                  registryQueryValue, key),
                  0U);
        std::uint32_t size = 1000;
        std::wstring text;
        EXPECT_EQ(queryRegistryText(key, L"shell", size, text), 0U);
        EXPECT_EQ(text, L"explorer.exe");
        closeRegistryKey(key);
    });
}

TEST_F(Answers, ARegistryTextHasToFitWithItsEnd) {
    onMachine([&] {
        RegistryKey key = RegistryKey::none;
        ASSERT_EQ(openRegistryKey(RegistryRoot::localMachine, winlogon, registryQueryValue, key), 0U);
        std::wstring text = L"untouched";
        for (const std::uint32_t room : {2U, 24U, 25U}) {
            std::uint32_t size = room;
            EXPECT_EQ(queryRegistryText(key, L"Shell", size, text), 234U);
            EXPECT_EQ(size, 26U);
            EXPECT_EQ(text, L"untouched");
        }
        std::uint32_t size = 26;
        EXPECT_EQ(queryRegistryText(key, L"Shell", size, text), 0U);
        EXPECT_EQ(text, L"explorer.exe");
        closeRegistryKey(key);
    });
}

TEST_F(Answers, TwoKeysOfTheRegistryAreGivenBackOneByOne) {
    onMachine([&] {
        RegistryKey one = RegistryKey::none;
        RegistryKey other = RegistryKey::none;
        ASSERT_EQ(openRegistryKey(RegistryRoot::localMachine, winlogon, registryQueryValue, one), 0U);
        ASSERT_EQ(openRegistryKey(RegistryRoot::localMachine, winlogon, registryQueryValue, other), 0U);
        closeRegistryKey(one);
        std::uint32_t size = 1000;
        std::wstring text;
        EXPECT_EQ(queryRegistryText(other, L"Shell", size, text), 0U);
        closeRegistryKey(other);
    });
}

TEST_F(Answers, NoKeyOfTheRegistryHasNoValues) {
    onMachine([&] {
        std::uint32_t size = 1000;
        std::wstring text = L"untouched";
        EXPECT_EQ(queryRegistryText(RegistryKey::none, L"Shell", size, text), errorInvalidHandle);
        EXPECT_EQ(text, L"untouched");
        EXPECT_EQ(size, 1000U);
    });
}

TEST_F(Answers, AMissingKeyOfTheUserIsToldAsOne) {
    onMachine([&] {
        RegistryKey key = RegistryKey::none;
        EXPECT_EQ(openRegistryKey(RegistryRoot::currentUser, L"Software\\zl-contract-never",
                                  registryQueryValue, key),
                  2U);
        EXPECT_EQ(key, RegistryKey::none);
    });
}

TEST_F(Answers, AUserThatDoesNotExistHasNoGroups) {
    onMachine([&] {
        if (isWine()) {
            return;  // Wine has the same groups for every name
        }
        const LocalGroups groups = localGroupsOfUser(L"zl-contract-nobody", 64000);
        EXPECT_NE(groups.status, 0U);
        EXPECT_TRUE(groups.names.empty());
    });
}

TEST_F(Answers, TheUserHasOneNameInEveryAnswer) {
    onMachine([&] {
        std::wstring one;
        std::wstring other;
        EXPECT_TRUE(currentUserName(32767, one));
        EXPECT_TRUE(currentUserName(one.size() + 1, other));
        EXPECT_EQ(one, other);
    });
}

TEST_F(Answers, AValueMayHoldEqualsSignsAndBlanks) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT= a=b= "), 0);
        EXPECT_EQ(environmentValue(L"ZL_CONTRACT"), L" a=b= ");
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT="), 0);
    });
}

TEST_F(Answers, ANameOfAVariableMayHoldOtherLetters) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_\u00e4_\u0431=\u65e5"), 0);
        EXPECT_EQ(environmentValue(L"zl_\u00c4_\u0411"), L"\u65e5");
        EXPECT_EQ(putEnvironmentText(L"ZL_\u00c4_\u0411="), 0);
        EXPECT_EQ(environmentValue(L"ZL_\u00e4_\u0431"), std::nullopt);
    });
}

TEST_F(Answers, NotWaitingTakesNoTime) {
    onMachine([&] {
        const std::uint32_t before = tickCount();
        for (int i = 0; i < 10; ++i) {
            sleepMilliseconds(0);
        }
        EXPECT_LT(tickCount() - before, 5000U);
    });
}

TEST_F(Answers, ATitleOfAConsoleIsCutToItsRoom) {
    onMachine([&] {
        const std::wstring title = consoleTitle(4096);
        EXPECT_EQ(consoleTitle(title.size() + 1), title);
        EXPECT_LT(consoleTitle(3).size(), 3U);
    });
}

TEST_F(Answers, AConsoleIsFoundByItsTitleAndStaysWhenItIsHidden) {
    onMachine([&] {
        if (isWine()) {
            return;  // Wine gives no console where it has no display
        }
        EXPECT_EQ(contract::endOf(contract::startChild(L"console zl-contract-title \"" + in(L"f") + L"\"")),
                  0U);
        EXPECT_EQ(contract::read(in(L"f")), "zl-contract-title found kept another ano");
    });
}

TEST_F(Answers, WithoutAConsoleThereIsNoWindowOfAnyTitle) {
    onMachine([&] {
        EXPECT_EQ(findWindow(L"zl-contract-title-of-nothing"), Window::none);
        hideWindow(Window::none);
    });
}

}  // namespace
