#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/streams.h"
#include "platform/users.h"

// Contract tests of the system interface in src/platform. The same tests run natively against the
// simulated machine and against Windows, so that both implementations keep the same promises.
namespace contract {

// True under Wine, which differs from Windows in a few places. A test that meets a difference names it: it
// is skipped there (SKIP_UNDER_WINE), or expects the error code that Wine has instead.
bool isWine();

// Skips the rest of a test, whose assertion does not hold under Wine. The reason says what Wine does instead.
#define SKIP_UNDER_WINE(reason)             \
    do {                                    \
        if (contract::isWine()) {           \
            GTEST_SKIP() << "Wine " reason; \
        }                                   \
    } while (false)

// The test program as the first argument of a command line, quoted.
std::wstring childProgram();

// A key of the user's registry for the tests, empty at the start of each.
inline constexpr const wchar_t* registryScratch = L"Software\\zl-contract";

// Runs the body as a process of the simulated machine, or directly on Windows. `scratch` is the full
// path of an empty directory, without a backslash at the end.
void runOnMachine(const std::function<void(const std::wstring& scratch)>& body);

// Gives the scratch key a text (REG_SZ) with this raw data.
void setScratchBytes(const std::wstring& valueName, const std::string& bytes);

// For child processes: holds a semaphore that any process may open, until the process ends.
void holdSemaphore(const std::wstring& name);
// Creates a pipe with a buffer of 64 KiB, which a client can connect to, but whose clients are not read yet.
void createPipe(const std::wstring& name);
// Reads the clients of this process's pipe, one after the other, until the process ends.
void servePipe(const std::wstring& name);
// What the first `count` clients of this process's pipe wrote, once they have closed it.
std::vector<std::string> servedTexts(const std::wstring& name, std::size_t count);
// The letter of a drive that the machine does not have.
wchar_t missingDrive();
// True if the user's account is on this machine, not in a domain, so that the machine knows its groups.
bool isUserOfThisMachine();
// The names of this process's variables with this upper-case name, as they are spelled.
std::vector<std::wstring> spellingsOf(const std::wstring& variable);
// Gives the process a console window of its own.
void takeConsole();
// True if the process's console is a window of its own, not a tab of a terminal. A tab's title is not its
// window's.
bool hasConsoleWindow();

class Contract : public ::testing::Test {
protected:
    std::wstring scratch;

    void onMachine(const std::function<void()>& body) {
        runOnMachine([&](const std::wstring& directory) {
            scratch = directory;
            body();
        });
    }
    std::wstring in(const std::wstring& name) const { return scratch + L"\\" + name; }
    // The same, quoted, as a further argument of a command line.
    std::wstring quoted(const std::wstring& name) const { return L" \"" + in(name) + L"\""; }
};

// The form of a full path that goes to the file system unchanged.
inline std::wstring longForm(const std::wstring& path) {
    return L"\\\\?\\" + path;
}

// Replaces the content of a file.
void write(const std::wstring& path, const std::string& content);
// The content of a file; "(absent)" if it cannot be opened.
std::string read(const std::wstring& path);
// Reads once, up to `count` bytes.
std::string readUpTo(platform::Stream* stream, std::size_t count);

// Two bytes for each 16-bit unit, the lower one first: a text that a file can hold whatever its letters.
std::string unitBytes(const std::wstring& text);

void makeFileWith(const std::wstring& path, std::uint32_t attributes);
// False also if nothing has this path.
bool hasAttribute(const std::wstring& path, std::uint32_t attribute);
// Names that match the pattern, in the order of the search.
std::vector<std::wstring> namesMatching(const std::wstring& pattern);

// Whether the result of an operation says that it failed.
template <typename Result>
bool isFailure(const Result& result) {
    if constexpr (std::is_enum_v<Result>) {
        return result == Result::none;
    } else if constexpr (std::is_same_v<Result, platform::FirstMatch>) {
        return result.handle == platform::FindHandle::none;
    } else if constexpr (std::is_same_v<Result, platform::ReadResult>) {
        return result.hasFailed;
    } else if constexpr (std::is_same_v<Result, platform::LocalGroups>) {
        return !result.hasSucceeded;
    } else {
        return !result;
    }
}

// Expects that the operation fails with this error code.
#define EXPECT_FAILS(operation, error)                 \
    do {                                               \
        EXPECT_TRUE(contract::isFailure((operation))); \
        EXPECT_EQ(platform::lastError(), (error));     \
    } while (false)

}  // namespace contract
