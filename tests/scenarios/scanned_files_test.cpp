#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "scenarios/story.h"
#include "support/text.h"

namespace {

// A virus scanner has a file of the user open while a start moves and deletes files. What is deleted then
// stays until the scanner closes it: its name cannot be used, and its directory cannot be removed.
class ScannedFiles : public scenarios::Story {
protected:
    simulation::DiskImage image;
    const std::wstring view = inWorkspace(L".metadata\\.plugins\\views\\x");

    ScannedFiles() {
        launcherProperties.set("zel.data", "C:/Users/ann/Mivel/ZEL/1234/ann");
        baseProperties.set("resetDir.views", "views");
    }

    std::vector<std::wstring> filesOfTheUser() {
        EXPECT_STARTED(launch());
        closePlatform();
        machine.writeFile(inConfig(L"org.eclipse.update\\registry"), "registry");
        machine.writeFile(inConfig(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
        machine.writeFile(inConfig(L"mine"), "mine");
        machine.writeFile(inWorkspace(L".configbak\\older"), "older");
        machine.writeFile(view, "x");
        image = machine.saveDisks();
        std::vector<std::wstring> files = machine.tree(workspace);
        std::erase_if(files, [](const std::wstring& path) { return path.ends_with(L'\\'); });
        return files;
    }
    // The end of the log if a scanner of this file ends the reset; empty if it does not.
    std::string refusalOf(const std::wstring& file) const {
        if (file.starts_with(inWorkspace(L".config\\"))) {
            return "ZLNCH0141E: Can't move file/dir  'C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.config'\n";
        }
        if (file.starts_with(inWorkspace(L".configbak\\"))) {
            return "ZLNCH0112E: Can't move file/dir  'C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.configbak'\n";
        }
        if (file.starts_with(inWorkspace(L".metadata\\"))) {
            return "ZLNCH0108E end: Unable to remove all files in the metadata plugin directory. "
                   "Please correct the problems listed above\n";
        }
        return "";
    }
    void expectReset() {
        EXPECT_EQ(configFile(L"org.eclipse.update\\registry"), "registry");
        EXPECT_EQ(configFile(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
        EXPECT_FALSE(machine.exists(inConfig(L"mine")));
        EXPECT_EQ(workspaceFile(L".configbak\\mine"), "mine");
        EXPECT_FALSE(machine.exists(view));
    }
};

TEST_F(ScannedFiles, ResetIsRefusedOrDoneAndCanBeRepeated) {
    for (const std::wstring& file : filesOfTheUser()) {
        SCOPED_TRACE(launchertest::toUtf8(file));
        machine.loadDisks(image);
        machine.holdOpen(file, simulation::HeldSharing::everything);
        const std::string refusal = refusalOf(file);
        EXPECT_EQ(launch({L"-resetconfig"}).status, refusal.empty() ? 0 : scenarios::fatalStatus);
        EXPECT_TRUE(scenarios::endsWith(log(), refusal));
        if (refusal.empty()) {
            closePlatform();
            expectReset();
        } else {
            EXPECT_EQ(configFile(L"mine"), "mine");
        }
        machine.releaseOpen(file);
        machine.writeFile(inConfig(L"mine"), "mine");
        EXPECT_STARTED(launch({L"-resetconfig"}));
        closePlatform();
        expectReset();
    }
}

TEST_F(ScannedFiles, ShortScanOfAViewDelaysTheReset) {
    filesOfTheUser();
    machine.holdOpen(view, simulation::HeldSharing::everything);
    machine.start({L"C:\\scanner.exe"}, [this] {
        platform::sleepMilliseconds(2500);
        machine.releaseOpen(view);
        return 0;
    });
    const std::uint64_t begin = machine.elapsedMilliseconds();
    EXPECT_STARTED(launch({L"-resetconfig"}));
    EXPECT_GE(machine.elapsedMilliseconds() - begin, 2500U);
    closePlatform();
    expectReset();
}

}  // namespace
