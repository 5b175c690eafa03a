#include <algorithm>
#include <set>

#include "contract/contract.h"

namespace {

using contract::found;
using contract::write;
using namespace platform;

// Walks over the names in a directory that fit a pattern.
class Walks : public contract::Contract {};

TEST_F(Walks, AWalkHasTheDirectoryItselfAndItsParent) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_EQ(found(in(L"d\\*")), (std::vector<std::wstring>{L".", L".."}));
        write(in(L"d\\b.txt"), "");
        write(in(L"d\\a.jar"), "");
        std::vector<std::wstring> names = found(in(L"d\\*"));
        std::sort(names.begin(), names.end());
        EXPECT_EQ(names, (std::vector<std::wstring>{L".", L"..", L"a.jar", L"b.txt"}));
        EXPECT_EQ(found(in(L"d\\*b*")), (std::vector<std::wstring>{L"b.txt"}));
        EXPECT_EQ(found(in(L"d\\?.JAR")), (std::vector<std::wstring>{L"a.jar"}));
        EXPECT_EQ(found(L"\\\\?\\" + in(L"d\\*.txt")), (std::vector<std::wstring>{L"b.txt"}));
        EXPECT_EQ(found(in(L"d")), (std::vector<std::wstring>{L"d"}));
    });
}

TEST_F(Walks, AWalkTellsWhichEntriesAreDirectories) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"dir.jar")));
        FindEntry entry;
        const FindHandle handle = findFirst(in(L"*.jar"), entry);
        ASSERT_NE(handle, FindHandle::none);
        EXPECT_EQ(entry.name, L"dir.jar");
        EXPECT_NE(entry.attributes & attributeDirectory, 0U);
        EXPECT_FALSE(findNext(handle, entry));
        findClose(handle);
    });
}

TEST_F(Walks, APatternStarDotStarFitsNamesWithoutADot) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        FindEntry entry;
        const FindHandle handle = findFirst(in(L"*.*"), entry);
        ASSERT_NE(handle, FindHandle::none);
        bool isFound = entry.name == L"d";
        while (findNext(handle, entry)) {
            isFound = isFound || entry.name == L"d";
        }
        EXPECT_TRUE(isFound);
        findClose(handle);
    });
}

TEST_F(Walks, AWalkOverNothingFails) {
    onMachine([&] {
        FindEntry entry;
        EXPECT_EQ(findFirst(in(L"gone\\*"), entry), FindHandle::none);
        EXPECT_EQ(lastError(), errorPathNotFound);
        EXPECT_EQ(findFirst(in(L"*.none"), entry), FindHandle::none);
        EXPECT_EQ(lastError(), errorFileNotFound);
    });
}

TEST_F(Walks, ASearchNeedsAPatternAndADirectory) {
    onMachine([&] {
        write(in(L"f"), "");
        FindEntry entry;
        entry.name = L"untouched";
        EXPECT_FAILS(findFirst(scratch + L"\\", entry) != FindHandle::none, errorFileNotFound);
        EXPECT_EQ(findFirst(in(L"f\\*"), entry), FindHandle::none);
        EXPECT_EQ(entry.name, L"untouched");
        findClose(FindHandle::none);
    });
}

TEST_F(Walks, TwoWalksDoNotDisturbEachOther) {
    onMachine([&] {
        write(in(L"a1"), "");
        write(in(L"b1"), "");
        FindEntry first;
        FindEntry second;
        const FindHandle one = findFirst(in(L"a*"), first);
        const FindHandle other = findFirst(in(L"b*"), second);
        EXPECT_EQ(first.name, L"a1");
        EXPECT_EQ(second.name, L"b1");
        EXPECT_FALSE(findNext(one, first));
        findClose(one);
        EXPECT_FALSE(findNext(other, second));
        findClose(other);
    });
}

TEST_F(Walks, AWalkHasEachOfManyEntriesOnce) {
    onMachine([&] {
        for (int i = 0; i < 500; ++i) {
            write(in(L"file with a longer name " + std::to_wstring(i)), "");
        }
        std::set<std::wstring> names;
        FindEntry entry;
        const FindHandle handle = findFirst(in(L"file*"), entry);
        bool isNew = true;
        do {
            isNew = isNew && names.insert(entry.name).second;
        } while (findNext(handle, entry));
        findClose(handle);
        EXPECT_TRUE(isNew);
        EXPECT_EQ(names.size(), 500U);
    });
}

TEST_F(Walks, EntriesMayGoWhileTheyAreWalkedOver) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        for (int i = 0; i < 300; ++i) {
            write(in(L"d\\f" + std::to_wstring(i)), "");
        }
        FindEntry entry;
        const FindHandle handle = findFirst(in(L"d\\*"), entry);
        ASSERT_NE(handle, FindHandle::none);
        int count = 0;
        do {
            if ((entry.attributes & attributeDirectory) == 0) {
                EXPECT_TRUE(deleteFile(in(L"d\\" + entry.name)));
                ++count;
            }
        } while (findNext(handle, entry));
        findClose(handle);
        EXPECT_EQ(count, 300);
        EXPECT_TRUE(removeDirectory(in(L"d"))) << lastError();
    });
}

}  // namespace
