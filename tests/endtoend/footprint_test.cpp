#include <algorithm>

#include "endtoend.h"
#include "held_files.h"

// What a start writes, and that it writes nothing else: compares all files before and after.
namespace {

using endtoend::Arguments;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::Tree;
using endtoend::treeOf;
namespace fs = std::filesystem;

class Footprint : public EndToEnd {
protected:
    Footprint() { layOut(); }

    // Under Wine the whole drive; on Windows only the test's own files, because other programs write there.
    fs::path observed() const { return endtoend::isWine() ? root.root_path() : root; }
    // Paths of the created, changed and deleted files, relative to root.
    std::vector<std::wstring> changesFrom(const Tree& before) const {
        std::vector<std::wstring> changes;
        const Tree after = treeOf(observed());
        for (const auto& [path, line] : after) {
            const auto former = before.find(path);
            if (former == before.end() || former->second != line) {
                changes.push_back(fs::relative(path, root).wstring());
            }
        }
        for (const auto& [path, line] : before) {
            if (after.count(path) == 0) {
                changes.push_back(fs::relative(path, root).wstring());
            }
        }
        std::sort(changes.begin(), changes.end());
        return changes;
    }
    // The same without the paths in this directory.
    std::vector<std::wstring> changesOutside(const fs::path& directory, const Tree& before) const {
        std::vector<std::wstring> changes = changesFrom(before);
        const std::wstring inside = fs::relative(directory, root).wstring();
        std::erase_if(changes, [&](const std::wstring& path) {
            return path == inside || path.starts_with(inside + L"\\");
        });
        return changes;
    }
    const std::vector<std::wstring> nothing;
};

TEST_F(Footprint, FirstStartWritesOnlyTheWorkspaceAndItsParents) {
    const Tree before = treeOf(observed());
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_FALSE(platformArguments().empty());
    EXPECT_EQ(changesOutside(workspace(), before),
              (std::vector<std::wstring>{L"home\\Mivel", L"home\\Mivel\\ZEL", L"home\\Mivel\\ZEL\\1234"}));
    EXPECT_NE(changesFrom(before), changesOutside(workspace(), before));
}

TEST_F(Footprint, LaterStartsHandOffsAndResetsWriteOnlyTheWorkspace) {
    EXPECT_EQ(launch(), 0U) << log();
    const Tree before = treeOf(observed());
    EXPECT_EQ(launch({L"handed over"}), 0U) << log();
    EXPECT_EQ(launch({L"-dcommand_only"}), 0U) << log();
    stopPlatform();
    for (const Arguments& arguments :
         {Arguments{}, {L"-debug"}, {L"-console"}, {L"-resetconfig"}, {L"-version", L"x"}}) {
        EXPECT_EQ(launch(arguments), 0U) << log();
        EXPECT_FALSE(platformArguments().empty());
        stopPlatform();
    }
    write(workspace() / L".config" / L"zelinstall.properties", "damaged");
    endtoend::removeAll(workspace() / L".config" / L"zelinstall.properties.bak");
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(changesOutside(workspace(), before), nothing);
}

TEST_F(Footprint, RefusedStartWritesATempLogThatTheNextStartDeletes) {
    const Tree before = treeOf(observed());
    EXPECT_EQ(launch({L"-version"}), fatalStatus);
    EXPECT_EQ(changesFrom(before), std::vector<std::wstring>{L"temp\\zellauncher.log"});
    EXPECT_EQ(launch(), 0U) << log();
    const Tree later = treeOf(observed());
    EXPECT_EQ(launch({L"-maxargcnt", L"9"}), fatalStatus);
    EXPECT_EQ(changesOutside(workspace(), later), std::vector<std::wstring>{L"temp\\zellauncher.log"});
    EXPECT_EQ(launch({L"handed over"}), 0U) << log();
    EXPECT_EQ(changesOutside(workspace(), later), nothing);
}

TEST_F(Footprint, FailingCommandOnlyWritesItsLogAndRemovesAStalePipeFile) {
    EXPECT_EQ(launch(), 0U) << log();
    stopPlatform();
    const std::wstring inWorkspace = fs::relative(workspace(), root).wstring();
    Tree before = treeOf(observed());
    EXPECT_EQ(launch({L"-dcommand_only"}), fatalStatus);
    EXPECT_EQ(changesFrom(before), (std::vector<std::wstring>{inWorkspace + L"\\.pipe",
                                                              inWorkspace + L"\\logs\\zellauncher.log"}));
    before = treeOf(observed());
    EXPECT_EQ(launch({L"-dcommand_only", L"java.home"}), fatalStatus);
    EXPECT_EQ(changesFrom(before), std::vector<std::wstring>{inWorkspace + L"\\logs\\zellauncher.log"});
}

TEST_F(Footprint, CommandOnlyOfANewUserWritesATempLog) {
    const Tree before = treeOf(observed());
    EXPECT_EQ(launch({L"-dcommand_only"}), fatalStatus);
    EXPECT_EQ(changesFrom(before), std::vector<std::wstring>{L"temp\\zellauncher.log"});
}

TEST_F(Footprint, StartWithDataWritesOnlyThatWorkspace) {
    const fs::path other = root / L"elsewhere";
    const Tree before = treeOf(observed());
    EXPECT_EQ(launch({L"-data", other.wstring()}), 0U);
    EXPECT_FALSE(platformArguments(other).empty());
    EXPECT_EQ(changesOutside(other, before), nothing);
    stopPlatform(other);
}

// The only place outside the workspace where a start deletes something.
TEST_F(Footprint, NewManifestVersionEmptiesTheSharedClassDirectory) {
    setProperty("provisioning.manifest.version", "2");
    jvmLines.push_back("jvm.shareclasses.fullpath=" + (root / L"classes").generic_string());
    layOut();
    write(root / L"classes" / L"cache", "x");
    const Tree before = treeOf(observed());
    EXPECT_EQ(launch({L"-data", (root / L"elsewhere").wstring()}), 0U) << log();
    EXPECT_EQ(changesOutside(root / L"elsewhere", before), std::vector<std::wstring>{L"classes\\cache"});
    stopPlatform(root / L"elsewhere");
}

TEST_F(Footprint, OnlyACacheInTheWorkspaceIsPurged) {
    const auto startAfterACrash = [&](const fs::path& controlDirectory) {
        write(controlDirectory / L"mycache", "x");
        EXPECT_EQ(launch(), 0U) << log();
        crashPlatform();
        const Tree before = treeOf(observed());
        EXPECT_EQ(
            launch({L"vmarg.CacheMaintenance.enable=-Dpurge=1",
                    L"vmarg.Dshare=-Xshareclasses:name=mycache,controlDir=" + controlDirectory.wstring()}),
            0U)
            << log();
        EXPECT_EQ(changesOutside(workspace(), before), nothing);
        stopPlatform();
    };
    startAfterACrash(root / L"classes");
    EXPECT_TRUE(fs::exists(root / L"classes" / L"mycache"));
    // The launcher compares the paths as texts.
    startAfterACrash(workspaceArgument() + L"/classes");
    EXPECT_FALSE(fs::exists(workspace() / L"classes" / L"mycache"));
}

}  // namespace
