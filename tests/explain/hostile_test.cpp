#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <map>

#include "explain/encoding.h"
#include "explain/json_writer.h"
#include "explain/page_writer.h"
#include "explain/program.h"
#include "explain/real_install.h"
#include "explain/redaction.h"

// Directories that mean harm, or change while they are read. Nothing outside of them is shown, and nothing at
// all is written.
namespace {

using explain::Explanation;
using explain::Outcome;
using explaintest::RealInstall;
namespace fs = std::filesystem;

constexpr const char* secret = "the secret of another directory";

std::string everythingOf(const Explanation& explanation) {
    return explain::writeJson({explanation}) + explain::writePage({explanation});
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Names, types, sizes, times and contents below a directory.
std::map<std::string, std::string> stateOf(const fs::path& directory) {
    std::map<std::string, std::string> state;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
        struct stat status {};
        ::lstat(entry.path().c_str(), &status);
        std::string line = std::to_string(status.st_mode) + " " + std::to_string(status.st_size) + " " +
                           std::to_string(status.st_mtim.tv_sec) + "." +
                           std::to_string(status.st_mtim.tv_nsec);
        if (S_ISREG(status.st_mode)) {
            std::ifstream file(entry.path(), std::ios::binary);
            line += std::string(std::istreambuf_iterator<char>(file), {});
        }
        state[entry.path().string()] = line;
    }
    return state;
}

TEST(HostileTree, LinkOutOfTheTreeIsNotShown) {
    const RealInstall install;
    std::ofstream(install.root() / "outside.ini") << secret;
    fs::create_directories(install.root() / "elsewhere");
    std::ofstream(install.root() / "elsewhere" / "config.ini") << secret;
    const fs::path base = install.at("zel/eclipse/plugins/base_1.0");
    fs::remove(base / "config.ini");
    fs::create_symlink("../../../../../outside.ini", base / "config.ini");
    fs::create_directory_symlink(install.root() / "elsewhere", base / "config");
    const Explanation explanation = install.explain();
    EXPECT_EQ(explanation.message, "ZLNCH0009E: Unable to copy config.ini to the user directory.");
    EXPECT_FALSE(contains(everythingOf(explanation), secret));
}

TEST(HostileTree, LinkWithinTheTreeIsFollowed) {
    const RealInstall install;
    const fs::path base = install.at("zel/eclipse/plugins/base_1.0");
    fs::rename(base / "config.ini", install.at("real.ini"));
    fs::create_symlink("../../../../real.ini", base / "config.ini");
    EXPECT_EQ(install.explain().message.value_or(""), "");
}

// Such directories do not exist, as on a real machine, and nothing else changes.
TEST(HostileMachine, ImpossibleDirectoriesAreNotMade) {
    const RealInstall install;
    const std::wstring throughFile = L"C:\\Program Files\\framework\\Client\\zel\\zellauncher.properties\\t";
    for (const std::wstring& path :
         {throughFile, L"C:\\" + std::wstring(256, L'n'), std::wstring(L"C:\\a\x01")}) {
        explain::StartOptions options = install.optionsFor();
        options.environment = {{L"TEMP", path}, {L"APPDATA", path}};
        EXPECT_EQ(install.explain({}, options).outcome, Outcome::started) << testing::PrintToString(path);
    }
}

TEST(HostileTree, LinksThatLeadToEachOtherEnd) {
    const RealInstall install;
    fs::create_directory_symlink(install.at("zel"), install.at("zel/loop"));
    fs::create_symlink("b", install.at("a"));
    fs::create_symlink("a", install.at("b"));
    install.append(RealInstall::launcherProperties,
                   "zel.data=C:/Program Files/framework/Client/zel/loop/loop/loop/ws");
    EXPECT_EQ(install.explain().message.value_or(""), "");
}

TEST(HostileTree, PipeInPlaceOfAFileDoesNotBlock) {
    const RealInstall install;
    fs::remove(install.at("custom.ini"));
    ASSERT_EQ(::mkfifo(install.at("custom.ini").c_str(), 0600), 0);
    const Explanation explanation = install.explain();
    EXPECT_EQ(explanation.outcome, Outcome::refused);
    EXPECT_TRUE(explanation.message->starts_with("ZLNCH0050E"));
}

TEST(HostileTree, ReadOnlyTreeStartsAndStaysAsItIs) {
    const RealInstall install;
    install.append(RealInstall::launcherProperties, "zel.data=C:/Program Files/framework/Client/ws");
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(install.root())) {
        fs::permissions(entry.path(), fs::perms::owner_write | fs::perms::group_write,
                        fs::perm_options::remove);
    }
    const std::map<std::string, std::string> before = stateOf(install.root());
    const Explanation explanation = install.explain({L"-resetconfig"});
    EXPECT_EQ(explanation.message.value_or(""), "");
    EXPECT_EQ(stateOf(install.root()), before);
}

TEST(HostileTree, NothingIsWritten) {
    const RealInstall install;
    const fs::path user = install.root() / "user";
    fs::create_directories(user / "Mivel/ZEL/1234/user/.config");
    std::ofstream(user / "Mivel/ZEL/1234/user/.config/zelinstall.properties") << "broken";
    explain::StartOptions options;
    options.maps = {{user.string(), L"C:\\Users\\user"}};
    options.starts = 2;
    const std::map<std::string, std::string> before = stateOf(install.root());
    const Explanation explanation = install.explain({L"-resetconfig"}, options);
    EXPECT_FALSE(explanation.files.empty());
    EXPECT_EQ(stateOf(install.root()), before);
}

// Everything is looked at once, so each change is seen wholly or not at all.
TEST(HostileTree, ChangesWhileItIsReadDoNoHarm) {
    for (int change = 0; change < 40; ++change) {
        const RealInstall install;
        const auto now = [&, left = change]() mutable {
            if (left-- == 0) {
                fs::remove_all(install.at("zel/eclipse"));
                install.write(RealInstall::jvmProperties, std::string(100'000, 'x'));
                fs::remove(install.at("custom.ini"));
                fs::create_directories(install.at("custom.ini/x"));
            }
        };
        explain::StartOptions options;
        options.beforeOperation = now;
        const Explanation explanation = install.explain({}, options);
        EXPECT_TRUE(explanation.outcome == Outcome::started || explanation.outcome == Outcome::refused);
        EXPECT_TRUE(explanation.status.has_value());
    }
}

TEST(HostileTree, NamesThatAreNotUtf8AreShown) {
    const RealInstall install;
    install.write("zel/\xFF\xFE.txt", "x");
    install.write("vx\xC3\xA4/b.txt", "x");
    EXPECT_EQ(install.explain().message.value_or(""), "");
}

TEST(HostileTree, BrokenContentsAreExplained) {
    using namespace std::string_literals;
    const RealInstall install;
    install.append(RealInstall::userTemplate, "key\0\xFF\xFE=\x01\x02<script>alert(1)</script>"s);
    install.append(RealInstall::launcherProperties, "product=</style></script><b>x");
    Explanation explanation = install.explain({L"<img src=x onerror=alert(1)>", L"</script>"});
    const std::string page = explain::writePage({explanation});
    EXPECT_FALSE(contains(page, "<img"));
    EXPECT_FALSE(contains(page, "<script>alert"));
    EXPECT_TRUE(explain::isUtf8(page));
    EXPECT_TRUE(explain::isUtf8(explain::writeJson({explanation})));
    explain::redact(explanation);
    EXPECT_TRUE(explain::isUtf8(explain::writeJson({explanation})));
}

TEST(HostileTree, EndlessSubstitutionEnds) {
    const RealInstall install;
    install.append(RealInstall::userTemplate, "-Da=${prop.-Db}");
    install.append(RealInstall::userTemplate, "-Db=${prop.-Da}");
    EXPECT_TRUE(install.explain().status.has_value());
}

// The exit status of the tool itself.
TEST(ExitStatus, IsThreeOnlyIfNothingCanBeExplained) {
    const RealInstall install;
    const std::string path = install.at("").string();
    const auto status = [](const std::vector<std::string>& arguments) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int result = explain::runProgram(arguments);
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
        return result;
    };
    EXPECT_EQ(status({"start", path}), 0);
    EXPECT_EQ(status({"start", path, "--at", "C:\\Elsewhere\\Client"}), 0);
    EXPECT_EQ(status({"start", path, "--", "-version"}), 0);
    for (const std::vector<std::string>& wrong : std::vector<std::vector<std::string>>{
             {},
             {"begin", path},
             {"start"},
             {"start", path, path},
             {"start", path, "--unknown"},
             {"start", path + "/zel"},
             {"start", path + "/none"},
             {"start", path + "/custom.ini"},
             {"start", path, "--platform", "1"},
             {"start", path, "--platform", "sleeping"},
             {"start", path, "--kiosk", "maybe"},
             {"start", path, "--starts", "0"},
             {"start", path, "--starts", "x"},
             {"start", path, "--env", "NAME"},
             {"start", path, "--env", "=x"},
             {"start", path, "--at", "relative"},
             {"start", path, "--cwd", "relative"},
             {"start", path, "--map", path},
             {"start", path, "--map", path + "=C:\\"},
             {"start", path, "--map", path + "=c:/program files/FRAMEWORK/client/zel"},
             {"start", path, "--map", path + "/none=C:\\Users"},
             {"start", path, "--html", path + "/page.html"},
             {"start", path, "--html", path + "/zel/../page.html"},
             {"start", path, "--html", "/no/such/directory/page.html"},
         }) {
        EXPECT_EQ(status(wrong), 3) << testing::PrintToString(wrong);
    }
}

}  // namespace
