#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "platform/files.h"
#include "platform/streams.h"

// What the launcher believes about the machine below the seam. The same cases run natively against
// the machine in memory and against Windows, so what the one promises is what the other does.
namespace contract {

// True where the system is Wine, which differs from Windows in a few places; a case that meets one
// says so and asks for the Windows answer elsewhere alone.
bool isWine();

// A command line whose program ends with this code after so many milliseconds.
std::wstring childCommand(std::uint32_t code, std::uint32_t milliseconds);

// A key of the user's registry that is there, empty, for the cases alone.
inline constexpr const wchar_t* registryScratch = L"Software\\zl-contract";

// Runs the body as a process of the machine, with an empty directory of its own: full path,
// backslashes, no trailing one.
void runOnMachine(const std::function<void(const std::wstring& scratch)>& body);

// What a child of the suite does in the place of a platform, until its process ends: it holds a semaphore
// that everybody may open, or serves a pipe, one client after the other.
void holdSemaphore(const std::wstring& name);
void servePipe(const std::wstring& name);
// Gives a child of the suite a console window of its own.
void takeConsole();
// What the first `count` clients of a pipe of this process have written, once they have gone.
std::vector<std::string> servedTexts(const std::wstring& name, std::size_t count);

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
    // The same as a further word of a command line.
    std::wstring quoted(const std::wstring& name) const { return L" \"" + in(name) + L"\""; }
};

// Through the seam alone.
void write(const std::wstring& path, const std::string& content);
std::string read(const std::wstring& path);  // "(absent)" when it cannot be opened
// What one reading of so many bytes gives.
std::string take(platform::Stream* stream, std::size_t count);

// Makes a file that has these attributes.
void makeWith(const std::wstring& path, std::uint32_t attributes);
std::uint32_t attributesOf(const std::wstring& path);  // none when nothing is there
// Names that fit the pattern, in the order of the walk.
std::vector<std::wstring> found(const std::wstring& pattern);

// Asserts a failure and its reason.
#define EXPECT_FAILS(operation, error)             \
    do {                                           \
        EXPECT_FALSE(operation);                   \
        EXPECT_EQ(platform::lastError(), (error)); \
    } while (false)

}  // namespace contract
