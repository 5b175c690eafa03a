#include <algorithm>
#include <set>

#include "contract/contract.h"

// Searching a directory for names that match a pattern.
namespace contract {
namespace {

using namespace platform;

class Walks : public Contract {};

TEST_F(Walks, PatternSelectsEntriesIncludingDotEntries) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_EQ(namesMatching(in(L"d\\*")), (std::vector<std::wstring>{L".", L".."}));
        write(in(L"d\\b.txt"), "");
        write(in(L"d\\a.jar"), "");
        std::vector<std::wstring> names = namesMatching(in(L"d\\*"));
        std::sort(names.begin(), names.end());
        EXPECT_EQ(names, (std::vector<std::wstring>{L".", L"..", L"a.jar", L"b.txt"}));
        EXPECT_EQ(namesMatching(in(L"d\\*b*")), (std::vector<std::wstring>{L"b.txt"}));
        EXPECT_EQ(namesMatching(in(L"d\\?.JAR")), (std::vector<std::wstring>{L"a.jar"}));
        EXPECT_EQ(namesMatching(longForm(in(L"d\\*.txt"))), (std::vector<std::wstring>{L"b.txt"}));
        EXPECT_EQ(namesMatching(in(L"d")), (std::vector<std::wstring>{L"d"}));
    });
}

TEST_F(Walks, EntryOfADirectoryHasItsAttribute) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"dir.jar")));
        const FirstMatch match = findFirst(in(L"*.jar"));
        ASSERT_NE(match.handle, FindHandle::none);
        EXPECT_EQ(match.entry.name, L"dir.jar");
        EXPECT_NE(match.entry.attributes & attributeDirectory, 0U);
        EXPECT_FALSE(findNext(match.handle));
        findClose(match.handle);
    });
}

TEST_F(Walks, StarDotStarMatchesNamesWithoutADot) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        const std::vector<std::wstring> names = namesMatching(in(L"*.*"));
        EXPECT_EQ(std::count(names.begin(), names.end(), L"d"), 1);
    });
}

TEST_F(Walks, SearchWithoutAMatchFails) {
    onMachine([&] {
        EXPECT_FAILS(findFirst(in(L"gone\\*")), errorPathNotFound);
        EXPECT_FAILS(findFirst(in(L"*.none")), errorFileNotFound);
    });
}

TEST_F(Walks, SearchNeedsAPatternAndADirectory) {
    onMachine([&] {
        write(in(L"f"), "");
        EXPECT_FAILS(findFirst(scratch + L"\\"), errorFileNotFound);
        const FirstMatch match = findFirst(in(L"f\\*"));
        EXPECT_EQ(match.handle, FindHandle::none);
        EXPECT_EQ(match.entry.name, L"");
        findClose(FindHandle::none);
    });
}

TEST_F(Walks, TwoSearchesAreIndependent) {
    onMachine([&] {
        write(in(L"a1"), "");
        write(in(L"b1"), "");
        const FirstMatch first = findFirst(in(L"a*"));
        const FirstMatch second = findFirst(in(L"b*"));
        EXPECT_EQ(first.entry.name, L"a1");
        EXPECT_EQ(second.entry.name, L"b1");
        EXPECT_FALSE(findNext(first.handle));
        findClose(first.handle);
        EXPECT_FALSE(findNext(second.handle));
        findClose(second.handle);
    });
}

TEST_F(Walks, EachOfManyEntriesIsFoundOnce) {
    onMachine([&] {
        for (int i = 0; i < 500; ++i) {
            write(in(L"file with a longer name " + std::to_wstring(i)), "");
        }
        const std::vector<std::wstring> names = namesMatching(in(L"file*"));
        EXPECT_EQ(names.size(), 500U);
        EXPECT_EQ(std::set<std::wstring>(names.begin(), names.end()).size(), 500U);
    });
}

TEST_F(Walks, EntriesMayBeDeletedDuringTheSearch) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        for (int i = 0; i < 300; ++i) {
            write(in(L"d\\f" + std::to_wstring(i)), "");
        }
        const FirstMatch match = findFirst(in(L"d\\*"));
        ASSERT_NE(match.handle, FindHandle::none);
        int count = 0;
        for (std::optional<FindEntry> entry = match.entry; entry; entry = findNext(match.handle)) {
            if ((entry->attributes & attributeDirectory) == 0) {
                EXPECT_TRUE(deleteFile(in(L"d\\" + entry->name)));
                ++count;
            }
        }
        findClose(match.handle);
        EXPECT_EQ(count, 300);
        EXPECT_TRUE(removeDirectory(in(L"d"))) << lastError();
    });
}

}  // namespace
}  // namespace contract
