#include "cache/shared_class_cache.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/files.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"
#include "support/text.h"

namespace {

using launchertest::toUtf8;
using zellauncher::FormerEnd;
using zellauncher::PropertyList;
using zellauncher::VmargOverrides;

constexpr const wchar_t* shutdownLog = L"C:\\ws\\logs\\shutdown.log";
const std::string started = "Started Sat Jan 31 23:59:00 2026\r\n";

class CacheMaintenance : public launchertest::OnMachine {
protected:
    VmargOverrides overrides = {{L"vmarg.CacheMaintenance.enable", L"false"}};
    FormerEnd formerEnd = FormerEnd::unclean;
    bool isPurged = false;
    launchertest::Outcome outcome;

    CacheMaintenance() { machine.makeDirectory(L"C:\\ws\\logs"); }

    void maintain(const std::wstring& cacheOption) {
        overrides[L"vmarg.Dshare"] = cacheOption;
        maintain();
    }
    void maintain() {
        outcome = run([&] { isPurged = zellauncher::cacheMaintenance(L"C:/ws", overrides, formerEnd); });
    }
    // A file that matches the name `app`, one that does not, and a directory that does.
    void fill(const std::wstring& directory) {
        machine.writeFile(directory + L"\\x_app_y", "");
        machine.writeFile(directory + L"\\other", "");
        machine.makeDirectory(directory + L"\\app_directory");
    }
    bool isAppFileDeleted(const std::wstring& directory) {
        EXPECT_TRUE(machine.exists(directory + L"\\app_directory"));
        return !machine.exists(directory + L"\\x_app_y");
    }
};

TEST_F(CacheMaintenance, UncleanEndDeletesTheCacheFiles) {
    fill(L"C:\\ws\\cache");
    maintain(L"-Xshareclasses:name=app%u,controlDir=C:\\ws\\cache");
    EXPECT_TRUE(isAppFileDeleted(L"C:\\ws\\cache"));
    EXPECT_TRUE(machine.exists(L"C:\\ws\\cache\\other"));
    EXPECT_TRUE(isPurged);
    EXPECT_EQ(machine.readFile(shutdownLog), started);
}

TEST_F(CacheMaintenance, MissingKeyLeavesTheCache) {
    fill(L"C:\\ws\\cache");
    overrides.clear();
    maintain(L"-Xshareclasses:name=app,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(isAppFileDeleted(L"C:\\ws\\cache"));
    EXPECT_FALSE(isPurged);
    EXPECT_EQ(machine.readFile(shutdownLog), started);
}

TEST_F(CacheMaintenance, CleanEndLeavesTheCache) {
    fill(L"C:\\ws\\cache");
    formerEnd = FormerEnd::clean;
    maintain(L"-Xshareclasses:name=app,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(isAppFileDeleted(L"C:\\ws\\cache"));
    EXPECT_EQ(machine.readFile(shutdownLog), started);
}

TEST_F(CacheMaintenance, MissingNameOrDirectoryLeavesTheCache) {
    fill(L"C:\\ws");
    for (const wchar_t* option :
         {L"", L"-Xshareclasses:controldir=C:\\ws", L"name=app", L"controlDir=C:\\ws"}) {
        SCOPED_TRACE(toUtf8(option));
        maintain(option);
        EXPECT_FALSE(isAppFileDeleted(L"C:\\ws"));
        EXPECT_FALSE(isPurged);
    }
    overrides.erase(L"vmarg.Dshare");
    maintain();
    EXPECT_FALSE(isPurged);
}

TEST_F(CacheMaintenance, ValueEndsAtACommaWithoutItsBlanks) {
    fill(L"C:\\ws\\cache");
    maintain(L"name =  app , controlDir = C:/ws/cache ,x");
    EXPECT_TRUE(isAppFileDeleted(L"C:\\ws\\cache"));
}

TEST_F(CacheMaintenance, OptionNameMatchesInsideOtherText) {
    // `name` is first found in the directory's path, and its value is the text after the next `=`.
    fill(L"C:\\ws\\username\\c");
    machine.writeFile(L"C:\\ws\\username\\c\\x", "");
    maintain(L"controlDir=C:\\ws\\username\\c,name=x_app");
    EXPECT_TRUE(isAppFileDeleted(L"C:\\ws\\username\\c"));
    EXPECT_TRUE(machine.exists(L"C:\\ws\\username\\c\\x"));
}

TEST_F(CacheMaintenance, FirstOccurrenceOfAnOptionIsUsed) {
    fill(L"C:\\ws\\cache");
    maintain(L"name=app,controlDir=C:\\ws\\cache,name=x,controlDir=C:\\ws\\other");
    EXPECT_TRUE(isAppFileDeleted(L"C:\\ws\\cache"));
}

TEST_F(CacheMaintenance, ValueWithoutAnEqualsSignIsTheWholeText) {
    maintain(L"C:\\ws\\name_controlDir,more");
    EXPECT_FALSE(isPurged);
    EXPECT_EQ(launchertest::callsOf(machine, "findFirst").at(0).argument,
              L"\\\\?\\C:\\ws\\name_controlDir\\*C:\\ws\\name_controlDir*");
}

TEST_F(CacheMaintenance, DirectoryOutsideTheWorkspaceIsLeft) {
    fill(L"C:\\other");
    maintain(L"name=app,controlDir=C:\\other");
    EXPECT_FALSE(isAppFileDeleted(L"C:\\other"));
    fill(L"C:\\ws\\cache");
    maintain(L"name=app,controlDir=C:\\WS\\cache");  // paths are compared with their case
    EXPECT_FALSE(isAppFileDeleted(L"C:\\ws\\cache"));
    EXPECT_FALSE(isPurged);
}

TEST_F(CacheMaintenance, WorkspaceIsComparedAsATextPrefix) {
    fill(L"C:\\ws");
    maintain(L"name=app,controlDir=C:/ws");
    EXPECT_TRUE(isAppFileDeleted(L"C:\\ws"));
    fill(L"C:\\wsx");
    maintain(L"name=app,controlDir=C:/wsx");
    EXPECT_TRUE(isAppFileDeleted(L"C:\\wsx"));
}

TEST_F(CacheMaintenance, PercentSignEndsOnlyTheName) {
    fill(L"C:\\ws\\a%b");
    maintain(L"name=app%u%v,controlDir=C:\\ws\\a%b");
    EXPECT_TRUE(isAppFileDeleted(L"C:\\ws\\a%b"));
}

TEST_F(CacheMaintenance, RelativeDirectoryIsFatal) {
    for (const wchar_t* option : {L"name=app,controlDir=cache", L"name=app,controlDir=",
                                  L"name=app,controlDir=  ,x", L"name=app,controlDir=\\ws"}) {
        SCOPED_TRACE(toUtf8(option));
        maintain(option);
        outcome.expectFatal("ZLNCH0140E: relative paths can not be converted to unicode path");
        EXPECT_FALSE(machine.exists(shutdownLog));
    }
}

TEST_F(CacheMaintenance, EmptyNameMatchesEveryFileOfTheDirectory) {
    for (const wchar_t* name : {L"name=", L"name=   ", L"name=%u"}) {
        SCOPED_TRACE(toUtf8(name));
        fill(L"C:\\ws\\cache");
        machine.writeFile(L"C:\\ws\\cache\\app_directory\\kept", "");
        maintain(name + std::wstring(L",controlDir=C:\\ws\\cache"));
        EXPECT_TRUE(isAppFileDeleted(L"C:\\ws\\cache"));
        EXPECT_FALSE(machine.exists(L"C:\\ws\\cache\\other"));
        EXPECT_TRUE(machine.exists(L"C:\\ws\\cache\\app_directory\\kept"));
        EXPECT_TRUE(isPurged);
    }
}

TEST_F(CacheMaintenance, OnlyBlanksAreTrimmed) {
    fill(L"C:\\ws\\cache");
    maintain(L"name=\tapp,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(isAppFileDeleted(L"C:\\ws\\cache"));
}

TEST_F(CacheMaintenance, OptionNamesAreCaseSensitive) {
    fill(L"C:\\ws\\cache");
    for (const wchar_t* option :
         {L"Name=app,controlDir=C:\\ws\\cache", L"name=app,ControlDir=C:\\ws\\cache"}) {
        SCOPED_TRACE(toUtf8(option));
        maintain(option);
        EXPECT_FALSE(isAppFileDeleted(L"C:\\ws\\cache"));
    }
    EXPECT_EQ(machine.readFile(shutdownLog), started + started);
}

TEST_F(CacheMaintenance, EmptyOrMissingDirectoryIsNoSuccess) {
    machine.makeDirectory(L"C:\\ws\\cache");
    maintain(L"name=app,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(isPurged);
    maintain(L"name=app,controlDir=C:\\ws\\missing");
    EXPECT_FALSE(isPurged);
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(machine.readFile(shutdownLog), started + started);
}

TEST_F(CacheMaintenance, UndeletableFileDoesNotStopTheStart) {
    fill(L"C:\\ws\\cache");
    machine.setAttributes(L"C:\\ws\\cache\\x_app_y", platform::attributeReadOnly);
    maintain(L"name=app,controlDir=C:\\ws\\cache");
    EXPECT_FALSE(isPurged);
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(outcome.log, "");
}

class SharedClasses : public launchertest::OnMachine {
protected:
    PropertyList install = {{L"jvm.shareclasses.fullpath", L"C:/cache/classes"}};
    PropertyList launcher = {{L"provisioning.manifest.version", L"2"}};
    launchertest::Outcome outcome;

    SharedClasses() { machine.writeFile(L"C:\\cache\\classes\\sub\\file", ""); }

    void clear() {
        outcome = runQuietly([&] { zellauncher::clearSharedClasses(install, launcher); });
    }
    bool isCleared() { return machine.tree(L"C:\\cache\\classes").empty(); }
};

TEST_F(SharedClasses, AreClearedIfTheUserHasNoVersion) {
    clear();
    EXPECT_TRUE(isCleared());
    EXPECT_TRUE(machine.isDirectory(L"C:\\cache\\classes"));
    EXPECT_EQ(outcome.log, "");
}

TEST_F(SharedClasses, AreFoundWithBackslashes) {
    clear();
    ASSERT_FALSE(machine.operations().empty());
    bool isAsked = false;
    for (const simulation::Operation& operation : machine.operations()) {
        isAsked = isAsked || operation.argument == L"C:\\cache\\classes";
        EXPECT_EQ(operation.argument.find(L'/'), std::wstring::npos) << operation.name;
    }
    EXPECT_TRUE(isAsked);
}

TEST_F(SharedClasses, AreKeptIfTheVersionsAreEqual) {
    install.push_back({L"provisioning.manifest.version", L"2"});
    clear();
    EXPECT_FALSE(isCleared());
}

TEST_F(SharedClasses, AreClearedIfTheVersionsDiffer) {
    install.push_back({L"provisioning.manifest.version", L"1a"});
    launcher = {{L"provisioning.manifest.version", L"1A"}};
    clear();
    EXPECT_TRUE(isCleared());
}

TEST_F(SharedClasses, AreClearedIfTheInstallHasNoVersion) {
    install.push_back({L"provisioning.manifest.version", L"2"});
    launcher.clear();
    clear();
    EXPECT_TRUE(isCleared());
}

TEST_F(SharedClasses, MissingDirectoryIsNoFailure) {
    install = {{L"jvm.shareclasses.fullpath", L"C:/gone"}};
    clear();
    EXPECT_EQ(outcome.log, "");
    install.clear();
    clear();
    EXPECT_EQ(outcome.log, "");
    EXPECT_FALSE(isCleared());
}

TEST_F(SharedClasses, UndeletableFileIsLoggedWithoutStoppingTheStart) {
    machine.setAttributes(L"C:\\cache\\classes\\sub\\file", platform::attributeReadOnly);
    clear();
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(outcome.log.starts_with(
        "\nZLNCH0086I begin: Information collected while removing shared classes directory\n"
        "Can't delete file \\\\?\\C:\\cache\\classes\\sub\\file  -  Failed with error 5: "))
        << outcome.log;
    EXPECT_EQ(outcome.lastLine(),
              "ZLNCH0087I end: Unable to remove all files in the shared classes directory.");
}

}  // namespace
