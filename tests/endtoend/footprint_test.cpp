#include <windows.h>

#include <algorithm>

#include "endtoend.h"

// What a start writes, and that it writes nothing else: the files of the whole drive before and after.
namespace {

using endtoend::EndToEnd;
using endtoend::fatalStatus;
namespace fs = std::filesystem;

// What a directory is, or a file with its size and its time of writing.
using Tree = std::map<fs::path, std::wstring>;

class Footprint : public EndToEnd {
protected:
    Footprint() { layOut(); }

    // The tests' own files, and under Wine the whole drive: on a Windows others write all the time.
    fs::path observed() const {
        const bool isWine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
        return isWine ? root.root_path() : root;
    }
    // Wine shows the home of whoever runs it under these names, where others work at the same time.
    static bool isAnotherHome(const fs::path& path) {
        const std::set<std::wstring> names = {L"Desktop",  L"Documents", L"Downloads", L"Music",
                                              L"Pictures", L"Templates", L"Videos"};
        return names.count(path.filename().wstring()) != 0;
    }
    static Tree treeOf(const fs::path& directory) {
        Tree tree;
        const fs::recursive_directory_iterator end;
        for (fs::recursive_directory_iterator walk(directory); walk != end; ++walk) {
            std::error_code ignored;  // a file of the system may go meanwhile
            std::wstring& line = tree[walk->path()];
            if (walk->is_regular_file(ignored)) {
                line = std::to_wstring(walk->file_size(ignored)) + L" " +
                       std::to_wstring(walk->last_write_time(ignored).time_since_epoch().count());
            } else if (isAnotherHome(walk->path())) {
                walk.disable_recursion_pending();
            }
        }
        return tree;
    }
    // What was made, changed or removed, relative to the tests' own directory.
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
    // The changes of a start outside this directory.
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

TEST_F(Footprint, AFirstStartMakesTheWorkspaceAndTheWayToIt) {
    const Tree before = treeOf(observed());
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_FALSE(platformWords().empty());
    EXPECT_EQ(changesOutside(workspace(), before),
              (std::vector<std::wstring>{L"home\\Mivel", L"home\\Mivel\\ZEL", L"home\\Mivel\\ZEL\\1234"}));
    EXPECT_NE(changesFrom(before), changesOutside(workspace(), before));
}

TEST_F(Footprint, LaterStartsAndHandOffsAndResetsWriteInTheWorkspaceAlone) {
    EXPECT_EQ(launch(), 0U) << log();
    const Tree before = treeOf(observed());
    EXPECT_EQ(launch({L"handed over"}), 0U) << log();
    EXPECT_EQ(launch({L"-dcommand_only"}), 0U) << log();
    stopPlatform();
    for (const std::vector<std::wstring>& words :
         {std::vector<std::wstring>{}, {L"-debug"}, {L"-console"}, {L"-resetconfig"}, {L"-version", L"x"}}) {
        EXPECT_EQ(launch(words), 0U) << log();
        EXPECT_FALSE(platformWords().empty());
        stopPlatform();
    }
    write(workspace() / L".config" / L"zelinstall.properties", "damaged");
    fs::remove(workspace() / L".config" / L"zelinstall.properties.bak");
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(changesOutside(workspace(), before), nothing);
}

TEST_F(Footprint, ARefusedStartWritesItsLogToTempAndTheNextOneTakesItAway) {
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

TEST_F(Footprint, AWorkspaceOfTheCommandLineIsTheOnlyOne) {
    const fs::path other = root / L"elsewhere";
    const Tree before = treeOf(observed());
    EXPECT_EQ(launch({L"-data", other.wstring()}), 0U);
    EXPECT_FALSE(platformWords(other).empty());
    EXPECT_EQ(changesOutside(other, before), nothing);
    stopPlatform(other);
}

// The one place beyond the workspace in which a start removes something: the directory that an install
// names for shared classes, when the manifest version is another one than the user's.
TEST_F(Footprint, ADirectoryOfSharedClassesIsEmptiedWhenTheManifestVersionChanges) {
    setProperty("provisioning.manifest.version", "2");
    jvmLines.push_back("jvm.shareclasses.fullpath=" + (root / L"classes").generic_string());
    layOut();
    write(root / L"classes" / L"cache", "x");
    const Tree before = treeOf(observed());
    EXPECT_EQ(launch({L"-data", (root / L"elsewhere").wstring()}), 0U) << log();
    EXPECT_EQ(changesOutside(root / L"elsewhere", before), std::vector<std::wstring>{L"classes\\cache"});
    stopPlatform(root / L"elsewhere");
}

// A cache that a JVM option names is purged only where it lies in the workspace.
TEST_F(Footprint, ACacheOutsideTheWorkspaceIsLeftAlone) {
    const auto startBehindACrash = [&](const fs::path& controlDirectory) {
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
    startBehindACrash(root / L"classes");
    EXPECT_TRUE(fs::exists(root / L"classes" / L"mycache"));
    // A path of the workspace as the launcher writes it: the comparison is of the text.
    startBehindACrash(userHome.wstring() + L"/Mivel/ZEL/1234/ann/classes");
    EXPECT_FALSE(fs::exists(workspace() / L"classes" / L"mycache"));
}

}  // namespace
