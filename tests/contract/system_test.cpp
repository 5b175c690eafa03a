#include "contract/contract.h"
#include "platform/desktop.h"
#include "platform/process.h"

namespace {

using namespace platform;

// What the system tells of itself and of this program.
class System : public contract::Contract {};

TEST_F(System, TheVersionIsThatOfTheSystem) {
    onMachine([&] {
        std::uint32_t major = 0;
        std::uint32_t minor = 0;
        EXPECT_TRUE(systemVersion(major, minor));
        EXPECT_TRUE(major > 6 || (major == 6 && minor >= 1));
    });
}

TEST_F(System, TheModuleIsThisProgram) {
    onMachine([&] {
        const std::wstring path = moduleFileName(260).value_or(L"");
        EXPECT_TRUE(path.ends_with(L"\\contract.exe"));
        EXPECT_FALSE(moduleFileName(path.size()));
        EXPECT_EQ(moduleFileName(path.size() + 1), path);
    });
}

TEST_F(System, FunctionsAreFoundAtRunTime) {
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

TEST_F(System, WithoutTheCurrentDirectoryTheSystemsLibrariesAreStillFound) {
    onMachine([&] {
        removeCurrentDirectoryFromLibrarySearch();
        const Library shell = loadLibrary(L"shell32.dll");
        EXPECT_NE(shell, Library::none);
        freeLibrary(shell);
    });
}

TEST_F(System, ErrorsHaveTextsThatEndALine) {
    onMachine([&] {
        EXPECT_TRUE(errorText(errorFileNotFound).ends_with(L"\r\n"));
        EXPECT_TRUE(errorText(errorAccessDenied).ends_with(L"\r\n"));
        EXPECT_NE(errorText(errorFileNotFound), errorText(errorAccessDenied));
        EXPECT_EQ(errorText(0x2FFFFFFF), L"");
    });
}

}  // namespace
