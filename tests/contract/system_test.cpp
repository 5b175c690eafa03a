#include "contract/contract.h"
#include "platform/libraries.h"
#include "platform/own_process.h"
#include "platform/system_version.h"

// The system's version, libraries and error texts, and the path of the program.
namespace contract {
namespace {

using namespace platform;

class System : public Contract {};

TEST_F(System, VersionIsAtLeastWindows7) {
    onMachine([&] {
        const std::optional<SystemVersion> version = systemVersion();
        ASSERT_TRUE(version);
        EXPECT_TRUE(version->major > 6 || (version->major == 6 && version->minor >= 1));
    });
}

TEST_F(System, ModuleFileNameMustFitWithItsNul) {
    onMachine([&] {
        const std::wstring path = moduleFileName(260).value_or(L"");
        EXPECT_TRUE(path.ends_with(L"\\contract.exe"));
        EXPECT_FALSE(moduleFileName(path.size()));
        EXPECT_EQ(moduleFileName(path.size() + 1), path);
    });
}

TEST_F(System, LibraryFunctionIsFoundAndCalled) {
    onMachine([&] {
        const Library shell = loadLibrary(L"shell32.dll");
        ASSERT_NE(shell, Library::none);
        const TextFunction function = textFunction(shell, "SetCurrentProcessExplicitAppUserModelID");
        EXPECT_NE(function, TextFunction::none);
        callTextFunction(function, L"contract.id");
        EXPECT_EQ(textFunction(shell, "NeverExported"), TextFunction::none);
        freeLibrary(shell);
        EXPECT_EQ(loadLibrary(L"zl-never.dll"), Library::none);
    });
}

TEST_F(System, SystemLibraryIsFoundWithoutTheCurrentDirectory) {
    onMachine([&] {
        removeCurrentDirectoryFromLibrarySearch();
        const Library shell = loadLibrary(L"shell32.dll");
        EXPECT_NE(shell, Library::none);
        freeLibrary(shell);
    });
}

TEST_F(System, ErrorTextsEndWithALineEnd) {
    onMachine([&] {
        EXPECT_TRUE(errorText(errorFileNotFound).ends_with(L"\r\n"));
        EXPECT_TRUE(errorText(errorAccessDenied).ends_with(L"\r\n"));
        EXPECT_NE(errorText(errorFileNotFound), errorText(errorAccessDenied));
        EXPECT_EQ(errorText(0x2FFFFFFF), L"");
    });
}

// 193: `%1 is not a valid Win32 application.`
TEST_F(System, ErrorTextWithAnInsertIsEmpty) {
    onMachine([&] { EXPECT_EQ(errorText(193), L""); });
}

}  // namespace
}  // namespace contract
