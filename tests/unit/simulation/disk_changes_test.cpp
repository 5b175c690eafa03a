#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/streams.h"
#include "simulation/machine.h"

// How the simulated machine lists what has happened to its drives.
namespace {

using simulation::DiskChange;
using simulation::Machine;
using Lines = std::vector<std::wstring>;

class DiskChanges : public ::testing::Test {
protected:
    Machine machine;

    static void write(const std::wstring& path, const std::string& text) {
        platform::Stream* stream = platform::openStream(path, "w");
        ASSERT_NE(stream, nullptr);
        platform::writeStream(stream, text);
        platform::closeStream(stream);
    }
    // What `body` changes, one line for each entry.
    Lines changesOf(const std::function<void()>& body) {
        machine.watchDisks();
        machine.run({L"C:\\program.exe"}, [&] {
            body();
            return 0;
        });
        Lines lines;
        for (const DiskChange& change : machine.diskChanges()) {
            const wchar_t* const kinds[] = {L"made ", L"changed ", L"moved ", L"removed "};
            lines.push_back(kinds[static_cast<int>(change.kind)] + change.path +
                            (change.from.empty() ? L"" : L" from " + change.from) +
                            (change.content.empty()
                                 ? L""
                                 : L": " + std::wstring(change.content.begin(), change.content.end())));
        }
        return lines;
    }
};

TEST_F(DiskChanges, SameContentAtTheSamePathIsNoChange) {
    machine.writeFile(L"C:\\written", "text");
    machine.writeFile(L"C:\\made again", "text");
    machine.writeFile(L"C:\\changed", "text");
    EXPECT_EQ(changesOf([] {
                  write(L"C:\\written", "text");
                  platform::deleteFile(L"C:\\made again");
                  write(L"C:\\made again", "text");
                  write(L"C:\\changed", "other");
              }),
              Lines({L"changed C:\\changed: other"}));
}

TEST_F(DiskChanges, FilesAtTheOldPathOfAMovedDirectoryAreMade) {
    machine.writeFile(L"C:\\a\\same", "text");
    machine.writeFile(L"C:\\a\\other", "text");
    machine.writeFile(L"C:\\a\\below\\same", "text");
    machine.writeFile(L"C:\\a\\kept", "text");
    EXPECT_EQ(changesOf([] {
                  platform::moveFile(L"C:\\a", L"C:\\b", 0);
                  platform::createDirectory(L"C:\\a");
                  platform::createDirectory(L"C:\\a\\below");
                  write(L"C:\\a\\same", "text");
                  write(L"C:\\a\\other", "new");
                  write(L"C:\\a\\below\\same", "text");
              }),
              Lines({L"made C:\\a\\below\\same: text", L"made C:\\a\\other: new", L"made C:\\a\\same: text",
                     L"moved C:\\b from C:\\a"}));
}

TEST_F(DiskChanges, FileAtTheOldPathOfAMovedOneIsMade) {
    machine.writeFile(L"C:\\a", "text");
    EXPECT_EQ(changesOf([] {
                  platform::moveFile(L"C:\\a", L"C:\\b", 0);
                  write(L"C:\\a", "text");
              }),
              Lines({L"made C:\\a: text", L"moved C:\\b from C:\\a: text"}));
}

TEST_F(DiskChanges, DirectoryMovedThereAndBackIsNoChange) {
    machine.writeFile(L"C:\\a\\file", "text");
    EXPECT_EQ(changesOf([] {
                  platform::moveFile(L"C:\\a", L"C:\\b", 0);
                  platform::moveFile(L"C:\\b", L"C:\\a", 0);
              }),
              Lines());
}

}  // namespace
