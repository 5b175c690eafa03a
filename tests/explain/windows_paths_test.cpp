#include "explain/windows_paths.h"

#include <gtest/gtest.h>

#include "simulation/machine.h"

namespace {

using explain::fullDrivePath;

TEST(FullDrivePath, HasBackslashesAndNoTrailingSeparator) {
    const std::pair<const wchar_t*, const wchar_t*> paths[] = {
        {L"C:/a/b", L"C:\\a\\b"},   {L"c:\\a\\", L"c:\\a"},      {L"C:\\", L"C:\\"},
        {L"C:/a//b/", L"C:\\a\\b"}, {L"\\\\?\\C:\\a", L"C:\\a"}, {L"C:\\a b.c", L"C:\\a b.c"},
        {L"C:\\a..b", L"C:\\a..b"},
    };
    for (const auto& [given, expected] : paths) {
        EXPECT_EQ(fullDrivePath(given), expected);
    }
}

TEST(FullDrivePath, NeedsDriveAndSeparator) {
    for (const wchar_t* path :
         {L"", L"a", L"C:", L"C:a", L"\\a", L"\\\\server\\share", L"1:\\a", L"CC:\\a"}) {
        EXPECT_FALSE(fullDrivePath(path)) << testing::PrintToString(std::wstring(path));
    }
}

TEST(FullDrivePath, NeedsPossibleNames) {
    const std::wstring names[] = {L".",   L"..", L"a\tb", L"a\x01", L"a?", L"a*",
                                  L"a:b", L"<",  L">",    L"\"",    L"|",  std::wstring(256, L'n')};
    for (const std::wstring& name : names) {
        EXPECT_FALSE(fullDrivePath(L"C:\\" + name)) << testing::PrintToString(name);
        EXPECT_FALSE(fullDrivePath(L"C:\\" + name + L"\\b")) << testing::PrintToString(name);
        EXPECT_FALSE(fullDrivePath(L"C:\\a\\" + name)) << testing::PrintToString(name);
    }
    EXPECT_TRUE(fullDrivePath(L"C:\\" + std::wstring(255, L'n')));
}

TEST(ResolvedDrivePath, LeavesParentDirectories) {
    const simulation::Machine machine;
    const std::pair<const wchar_t*, const wchar_t*> paths[] = {
        {L"C:/a/../b", L"C:\\b"},
        {L"C:/./a/.", L"C:\\a"},
        {L"C:\\a/b/../..", L"C:\\"},
        {L"\\\\?\\C:\\a", L"C:\\a"},
    };
    for (const auto& [given, expected] : paths) {
        EXPECT_EQ(explain::resolvedDrivePath(machine, given), expected);
    }
    for (const wchar_t* path : {L"a/../b", L"\\\\?\\C:\\a\\..\\b", L"C:\\a?\\b", L""}) {
        EXPECT_FALSE(explain::resolvedDrivePath(machine, path)) << testing::PrintToString(std::wstring(path));
    }
}

TEST(RelativePath, IsWhatFollowsTheDirectory) {
    EXPECT_EQ(explain::relativeTo(L"C:/a/b/c", L"C:\\a\\"), L"b\\c");
    EXPECT_EQ(explain::relativeTo(L"C:\\a\\b", L"C:\\"), L"a\\b");
    EXPECT_EQ(explain::relativeTo(L"C:\\a", L"C:\\a"), L"");
    EXPECT_EQ(explain::relativeTo(L"C:\\", L"C:\\"), L"");
}

}  // namespace
