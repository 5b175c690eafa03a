#include "platform/registry.h"

#include "contract/contract.h"

namespace contract {
namespace {

using namespace platform;

constexpr const wchar_t* winlogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Winlogon";

class Registry : public Contract {
protected:
    // A value that every Windows has: the logon shell. A locked-down machine has one of its own.
    static bool hasOtherShell() {
        const RegistryKey key = openWinlogon();
        const std::optional<std::wstring> shell = textOf(key, L"Shell");
        closeRegistryKey(key);
        return shell && *shell != L"explorer.exe";
    }
    static RegistryKey openWinlogon() {
        const RegistryKey key = openRegistryKey(RegistryRoot::localMachine, winlogon, registryQueryValue);
        EXPECT_NE(key, RegistryKey::none) << lastError();
        return key;
    }
    static RegistryKey openScratch(std::uint32_t access) {
        const RegistryKey key = openRegistryKey(RegistryRoot::currentUser, registryScratch, access);
        EXPECT_NE(key, RegistryKey::none) << lastError();
        return key;
    }
    // Reads a text of up to 1000 bytes.
    static std::optional<std::wstring> textOf(RegistryKey key, const std::wstring& name) {
        std::uint32_t size = 1000;
        return queryRegistryText(key, name, size);
    }
    // A text of the scratch key, read through a handle of its own.
    static std::optional<std::wstring> scratchText(const std::wstring& name) {
        const RegistryKey key = openScratch(registryQueryValue);
        std::optional<std::wstring> text = textOf(key, name);
        closeRegistryKey(key);
        return text;
    }
};

TEST_F(Registry, ValueAndItsSizeAreRead) {
    onMachine([&] {
        if (hasOtherShell()) {
            GTEST_SKIP() << "the machine has a logon shell of its own";
        }
        const RegistryKey key = openWinlogon();
        std::uint32_t size = 1000;
        EXPECT_EQ(queryRegistryText(key, L"SHELL", size), L"explorer.exe");
        EXPECT_EQ(size, 26U);
        size = 4;
        EXPECT_FAILS(queryRegistryText(key, L"Shell", size), errorMoreData);
        EXPECT_EQ(size, 26U);
        EXPECT_FAILS(queryRegistryText(key, L"Never", size), errorFileNotFound);
        closeRegistryKey(key);
        const std::wstring missing = std::wstring(winlogon) + L"\\Never";
        EXPECT_FAILS(openRegistryKey(RegistryRoot::localMachine, missing, registryQueryValue),
                     errorFileNotFound);
    });
}

TEST_F(Registry, NamesIgnoreCase) {
    onMachine([&] {
        if (hasOtherShell()) {
            GTEST_SKIP() << "the machine has a logon shell of its own";
        }
        const RegistryKey key =
            openRegistryKey(RegistryRoot::localMachine,
                            L"SOFTWARE\\MICROSOFT\\Windows nt\\currentversion\\WINLOGON", registryQueryValue);
        EXPECT_NE(key, RegistryKey::none);
        EXPECT_EQ(textOf(key, L"shell"), L"explorer.exe");
        closeRegistryKey(key);
    });
}

TEST_F(Registry, MissingUserKeyIsFileNotFound) {
    onMachine([&] {
        EXPECT_FAILS(
            openRegistryKey(RegistryRoot::currentUser, L"Software\\zl-contract-never", registryQueryValue),
            errorFileNotFound);
    });
}

TEST_F(Registry, TextMustFitWithItsNul) {
    onMachine([&] {
        if (hasOtherShell()) {
            GTEST_SKIP() << "the machine has a logon shell of its own";
        }
        const RegistryKey key = openWinlogon();
        for (const std::uint32_t capacity : {2U, 24U, 25U}) {
            std::uint32_t size = capacity;
            EXPECT_FAILS(queryRegistryText(key, L"Shell", size), errorMoreData);
            EXPECT_EQ(size, 26U);
        }
        std::uint32_t size = 26;
        EXPECT_EQ(queryRegistryText(key, L"Shell", size), L"explorer.exe");
        closeRegistryKey(key);
    });
}

TEST_F(Registry, TextIsCreatedAndReplaced) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryQueryValue | registrySetValue);
        EXPECT_TRUE(setRegistryText(key, L"Shell", L"first.exe"));
        EXPECT_EQ(scratchText(L"SHELL"), L"first.exe");
        EXPECT_TRUE(setRegistryText(key, L"shell", L"\u65e5\u672c"));
        EXPECT_EQ(scratchText(L"Shell"), L"\u65e5\u672c");
        std::uint32_t size = 6;  // two characters and the NUL
        EXPECT_TRUE(queryRegistryText(key, L"Shell", size));
        EXPECT_EQ(size, 6U);
        closeRegistryKey(key);
    });
}

TEST_F(Registry, EmptyTextIsAValue) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryAllAccess);
        EXPECT_TRUE(setRegistryText(key, L"Shell", L""));
        EXPECT_EQ(scratchText(L"Shell"), L"");
        closeRegistryKey(key);
    });
}

// The upper half of the last character may be missing, and so may the NUL.
TEST_F(Registry, TextOfAnySizeIsReadUpToItsFirstNul) {
    using namespace std::string_literals;
    const std::pair<std::string, std::wstring> cases[] = {
        {"", L""},        {"a", L"a"},        {"\0"s, L""},       {"a\0"s, L"a"},    {"a\0b"s, L"ab"},
        {"a\0\0"s, L"a"}, {"a\0\0\0"s, L"a"}, {"a\0b\0"s, L"ab"}, {"\0\0b\0"s, L""}, {"a\0b\0c"s, L"abc"},
    };
    onMachine([&] {
        const RegistryKey key = openScratch(registryQueryValue);
        for (const auto& [bytes, text] : cases) {
            SCOPED_TRACE(testing::PrintToString(bytes));
            setScratchBytes(L"Shell", bytes);
            std::uint32_t size = 1000;
            EXPECT_EQ(queryRegistryText(key, L"Shell", size), text);
            EXPECT_EQ(size, bytes.size());
        }
        closeRegistryKey(key);
    });
}

TEST_F(Registry, SmallBufferHoldsOnlyWhatFits) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryQueryValue);
        for (std::uint32_t stored = 0; stored < 6; ++stored) {
            for (std::uint32_t capacity = 0; capacity < 6; ++capacity) {
                SCOPED_TRACE(std::to_string(stored) + " bytes into " + std::to_string(capacity));
                setScratchBytes(L"Shell", std::string(stored, '\0'));
                std::uint32_t size = capacity;
                if (stored <= capacity) {
                    EXPECT_EQ(queryRegistryText(key, L"Shell", size), L"") << lastError();
                } else {
                    EXPECT_FAILS(queryRegistryText(key, L"Shell", size), errorMoreData);
                }
                EXPECT_EQ(size, stored);
            }
        }
        closeRegistryKey(key);
    });
}

TEST_F(Registry, NumberHasFourBytes) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryAllAccess);
        EXPECT_TRUE(setRegistryNumber(key, L"NoClose", 0));
        std::uint32_t size = 3;
        EXPECT_FAILS(queryRegistryText(key, L"NoClose", size), errorMoreData);
        EXPECT_EQ(size, 4U);
        closeRegistryKey(key);
    });
}

TEST_F(Registry, KeyOpenedForReadingCannotBeWritten) {
    onMachine([&] {
        const RegistryKey key = openScratch(registryQueryValue);
        EXPECT_FAILS(setRegistryText(key, L"Shell", L"x"), errorAccessDenied);
        EXPECT_FAILS(setRegistryNumber(key, L"NoClose", 0), errorAccessDenied);
        EXPECT_EQ(scratchText(L"Shell"), std::nullopt);
        closeRegistryKey(key);
    });
}

TEST_F(Registry, ClosingOneHandleKeepsTheOtherOpen) {
    onMachine([&] {
        if (hasOtherShell()) {
            GTEST_SKIP() << "the machine has a logon shell of its own";
        }
        const RegistryKey first = openWinlogon();
        const RegistryKey second = openWinlogon();
        closeRegistryKey(first);
        EXPECT_EQ(textOf(second, L"Shell"), L"explorer.exe");
        closeRegistryKey(second);
    });
}

TEST_F(Registry, QueryWithoutAKeyKeepsTheSize) {
    onMachine([&] {
        std::uint32_t size = 1000;
        EXPECT_FAILS(queryRegistryText(RegistryKey::none, L"Shell", size), errorInvalidHandle);
        EXPECT_EQ(size, 1000U);
    });
}

TEST_F(Registry, OperationsWithoutAKeyFail) {
    onMachine([&] {
        std::uint32_t size = 100;
        EXPECT_FAILS(setRegistryText(RegistryKey::none, L"Shell", L"x"), errorInvalidHandle);
        EXPECT_FAILS(queryRegistryText(RegistryKey::none, L"Shell", size), errorInvalidHandle);
        closeRegistryKey(RegistryKey::none);
    });
}

}  // namespace
}  // namespace contract
