#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"

// Starting a program, and the errors of a failed start.
namespace contract {
namespace {

using namespace platform;

class Starts : public Contract {
protected:
    // A command line with only the program, quoted.
    std::wstring programIn(const std::wstring& name) const { return L"\"" + in(name) + L"\""; }
};

TEST_F(Starts, ChildStartsWithTitleAndFlags) {
    onMachine([&] {
        StartInformation start;
        start.flags = startPreventPinning | startTitleIsAppId;
        start.title = L"my.id";
        const std::optional<ChildProcess> child = createProcess(childCommand(L"exit 0"), start);
        ASSERT_TRUE(child) << lastError();
        EXPECT_TRUE(waitForEnd(child->process));
    });
}

TEST_F(Starts, ChildStartsInTheParentsCurrentDirectory) {
    onMachine([&] {
        EXPECT_EQ(runChild(L"directory" + quoted(L"f")), 0U);
        EXPECT_EQ(read(in(L"f")), unitBytes(fullPathName(L".", 1000).value_or(L"(none)")));
    });
}

TEST_F(Starts, ProgramIsFoundWithoutItsExtension) {
    onMachine([&] {
        std::wstring command = childCommand(L"exit 6");
        command.erase(command.find(L".exe"), 4);
        const std::optional<ChildProcess> child = createProcess(command, {});
        ASSERT_TRUE(child) << lastError();
        closeHandle(child->thread);
        EXPECT_EQ(waitForExitCode(child->process), 6U);
    });
}

TEST_F(Starts, ProgramIsFoundByItsLongForm) {
    onMachine([&] {
        for (const wchar_t* prefix : {L"\\\\?\\", L"//?/"}) {
            std::wstring command = childCommand(L"exit 6");
            command.insert(1, prefix);
            const std::optional<ChildProcess> child = createProcess(command, {});
            ASSERT_TRUE(child) << lastError();
            closeHandle(child->thread);
            EXPECT_EQ(waitForExitCode(child->process), 6U);
        }
    });
}

TEST_F(Starts, MissingProgramDiffersFromInvalidProgram) {
    onMachine([&] {
        EXPECT_FAILS(createProcess(programIn(L"gone.exe") + L" x", {}), errorFileNotFound);
        write(in(L"text.exe"), "no program");
        EXPECT_FAILS(createProcess(programIn(L"text.exe"), {}), errorBadProgram);
        EXPECT_FALSE(createProcess(L"", {}));
    });
}

TEST_F(Starts, MissingDirectoryIsPathNotFound) {
    onMachine([&] {
        // Wine does not distinguish a missing directory from a missing file.
        EXPECT_FAILS(createProcess(programIn(L"gone\\x.exe"), {}),
                     isWine() ? errorFileNotFound : errorPathNotFound);
    });
}

TEST_F(Starts, DirectoryCannotBeStarted) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d.exe")));
        EXPECT_FAILS(createProcess(programIn(L"d.exe"), {}), errorAccessDenied);
    });
}

TEST_F(Starts, UnquotedMissingProgramIsFileNotFound) {
    onMachine([&] { EXPECT_FAILS(createProcess(in(L"gone.exe"), {}), errorFileNotFound); });
}

}  // namespace
}  // namespace contract
