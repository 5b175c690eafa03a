#include "platform/registry.h"

#include "contract/contract.h"

namespace {

using namespace platform;

constexpr const wchar_t* winlogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon";

// The shell and the policies of a desktop stand in the registry.
class Registry : public contract::Contract {
protected:
    static RegistryKey openScratch(std::uint32_t access) {
        RegistryKey key = RegistryKey::none;
        EXPECT_EQ(openRegistryKey(RegistryRoot::currentUser, contract::registryScratch, access, key), 0U);
        return key;
    }
    static std::wstring valueOf(const std::wstring& name) {
        const RegistryKey key = openScratch(registryQueryValue);
        std::uint32_t size = 1000;
        std::wstring text = L"(absent)";
        queryRegistryText(key, name, size, text);
        closeRegistryKey(key);
        return text;
    }
};

TEST_F(Registry, TheRegistryTellsWhatIsThere) {
    onMachine([&] {
        RegistryKey key = RegistryKey::none;
        ASSERT_EQ(openRegistryKey(RegistryRoot::localMachine, winlogon, registryQueryValue, key), 0U);
        std::uint32_t size = 1000;
        std::wstring text;
        EXPECT_EQ(queryRegistryText(key, L"SHELL", size, text), 0U);
        EXPECT_EQ(text, L"explorer.exe");
        EXPECT_EQ(size, 26U);
        size = 4;
        EXPECT_EQ(queryRegistryText(key, L"Shell", size, text), 234U);
        EXPECT_EQ(size, 26U);
        EXPECT_EQ(queryRegistryText(key, L"Never", size, text), 2U);
        closeRegistryKey(key);
        EXPECT_EQ(openRegistryKey(RegistryRoot::localMachine, std::wstring(winlogon) + L"\\Never",
                                  registryQueryValue, key),
                  2U);
        EXPECT_EQ(key, RegistryKey::none);
        closeRegistryKey(key);
    });
}

TEST_F(Registry, NamesInTheRegistryHaveNoCase) {
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

TEST_F(Registry, AMissingKeyOfTheUserIsToldAsOne) {
    onMachine([&] {
        RegistryKey key = RegistryKey::none;
        EXPECT_EQ(openRegistryKey(RegistryRoot::currentUser, L"Software\\zl-contract-never",
                                  registryQueryValue, key),
                  2U);
        EXPECT_EQ(key, RegistryKey::none);
    });
}

TEST_F(Registry, ARegistryTextHasToFitWithItsEnd) {
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

TEST_F(Registry, AValueIsMadeAndReplaced) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryQueryValue | registrySetValue);
        EXPECT_EQ(setRegistryText(key, L"Shell", L"first.exe"), 0U);
        EXPECT_EQ(valueOf(L"SHELL"), L"first.exe");
        EXPECT_EQ(setRegistryText(key, L"shell", L"\u65e5\u672c"), 0U);
        EXPECT_EQ(valueOf(L"Shell"), L"\u65e5\u672c");
        std::uint32_t size = 6;
        std::wstring text;
        EXPECT_EQ(queryRegistryText(key, L"Shell", size, text), 0U);  // two units and the NUL
        EXPECT_EQ(size, 6U);
        closeRegistryKey(key);
    });
}

TEST_F(Registry, AnEmptyTextIsAValue) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryAllAccess);
        EXPECT_EQ(setRegistryText(key, L"Shell", L""), 0U);
        EXPECT_EQ(valueOf(L"Shell"), L"");
        closeRegistryKey(key);
    });
}

TEST_F(Registry, ANumberTakesFourBytes) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryAllAccess);
        EXPECT_EQ(setRegistryNumber(key, L"NoClose", 0), 0U);
        std::uint32_t size = 3;
        std::wstring text;
        EXPECT_EQ(queryRegistryText(key, L"NoClose", size, text), 234U);
        EXPECT_EQ(size, 4U);
        closeRegistryKey(key);
    });
}

TEST_F(Registry, AKeyThatWasOpenedForReadingTakesNoValue) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryQueryValue);
        EXPECT_EQ(setRegistryText(key, L"Shell", L"x"), errorAccessDenied);
        EXPECT_EQ(setRegistryNumber(key, L"NoClose", 0), errorAccessDenied);
        EXPECT_EQ(valueOf(L"Shell"), L"(absent)");
        closeRegistryKey(key);
    });
}

TEST_F(Registry, TwoKeysOfTheRegistryAreGivenBackOneByOne) {
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

TEST_F(Registry, NoKeyOfTheRegistryHasNoValues) {
    onMachine([&] {
        std::uint32_t size = 1000;
        std::wstring text = L"untouched";
        EXPECT_EQ(queryRegistryText(RegistryKey::none, L"Shell", size, text), errorInvalidHandle);
        EXPECT_EQ(text, L"untouched");
        EXPECT_EQ(size, 1000U);
    });
}

TEST_F(Registry, AKeyThatIsNoneTakesAndGivesNothing) {
    onMachine([&] {
        std::uint32_t size = 100;
        std::wstring text;
        EXPECT_EQ(setRegistryText(RegistryKey::none, L"Shell", L"x"), errorInvalidHandle);
        EXPECT_EQ(queryRegistryText(RegistryKey::none, L"Shell", size, text), errorInvalidHandle);
        closeRegistryKey(RegistryKey::none);
    });
}

}  // namespace
