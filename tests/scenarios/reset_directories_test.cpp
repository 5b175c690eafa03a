#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::contains;
using scenarios::Story;

// Which directories of the workspace's plug-ins a reset removes.
class ResetDirectories : public Story {
protected:
    const std::wstring plugins = inWorkspace(L".metadata\\.plugins");

    void startOnce() {
        EXPECT_STARTED(launch());
        closePlatform();
        machine.writeFile(plugins + L"\\views\\sub\\x", "");
        machine.writeFile(plugins + L"\\other\\x", "");
        machine.writeFile(inWorkspace(L".metadata\\version.ini"), "");
    }
    void reset() {
        EXPECT_STARTED(launch({L"-resetconfig"}));
        closePlatform();
    }
    bool areViewsGone() {
        EXPECT_TRUE(machine.exists(plugins + L"\\other\\x"));
        EXPECT_TRUE(machine.exists(inWorkspace(L".metadata\\version.ini")));
        return !machine.exists(plugins + L"\\views");
    }
};

TEST_F(ResetDirectories, NeedTheWholePrefixInItsCase) {
    baseProperties.set("ResetDir.a", "views");
    baseProperties.set("resetDir", "views");
    baseProperties.set("xresetDir.a", "views");
    startOnce();
    reset();
    EXPECT_FALSE(areViewsGone());
}

TEST_F(ResetDirectories, EndAtTheFirstEntryWithoutAKey) {
    baseProperties.set("resetDir.a", "views");
    baseProperties.addLine("=x");
    baseProperties.set("resetDir.b", "other");
    startOnce();
    reset();
    EXPECT_TRUE(areViewsGone());
}

TEST_F(ResetDirectories, MayEndInASeparator) {
    for (const char* value : {"views/", "views\\\\\\\\"}) {
        baseProperties.set("resetDir.a", value);
        layOut();
        machine.remove(workspace);
        startOnce();
        reset();
        EXPECT_TRUE(areViewsGone()) << value;
    }
}

TEST_F(ResetDirectories, MayBeBelowAPlugin) {
    baseProperties.set("resetDir.a", "views/sub");
    startOnce();
    reset();
    EXPECT_FALSE(areViewsGone());
    EXPECT_FALSE(machine.exists(plugins + L"\\views\\sub"));
}

TEST_F(ResetDirectories, FileOfThatNameIsFatal) {
    baseProperties.set("resetDir.a", "file");
    startOnce();
    machine.writeFile(plugins + L"\\file", "");
    EXPECT_FATAL(launch({L"-resetconfig"}));
    EXPECT_TRUE(
        contains(log(), "\nZLNCH0107E begin: Error removing metadata plugin directory\nError in \\\\?\\"));
    EXPECT_TRUE(scenarios::endsWith(
        log(),
        "\nZLNCH0108E end: Unable to remove all files in the metadata plugin directory. Please correct "
        "the problems listed above\n"));
    EXPECT_TRUE(machine.exists(plugins + L"\\file"));
}

// An install must not have such values: they name the directory of all plug-ins, and the one above it.
TEST_F(ResetDirectories, EmptyValueNamesAllPlugins) {
    baseProperties.set("resetDir.a", "");
    startOnce();
    reset();
    EXPECT_FALSE(machine.exists(plugins));
    EXPECT_TRUE(machine.exists(inWorkspace(L".metadata\\version.ini")));
}

TEST_F(ResetDirectories, TwoDotsNameTheDirectoryAbove) {
    baseProperties.set("resetDir.a", "..");
    startOnce();
    reset();
    EXPECT_FALSE(machine.exists(inWorkspace(L".metadata")));
    EXPECT_TRUE(machine.exists(inConfig(L"zelinstall.properties")));
}

}  // namespace
