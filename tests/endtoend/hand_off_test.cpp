#include <windows.h>

#include <set>

#include "endtoend.h"

// A start while the platform runs: its words go to the platform, which records what came.
namespace {

using endtoend::backward;
using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::forward;
using endtoend::Running;
namespace fs = std::filesystem;

class HandOff : public EndToEnd {
protected:
    std::wstring platformNumber() const { return std::to_wstring(std::stoul(platformStart()["pid"])); }
    // The elements of a text, which has one NUL at its end.
    static std::vector<std::wstring> elementsOf(const std::wstring& text) {
        std::vector<std::wstring> elements(1);
        EXPECT_EQ(text.find(L'\0'), text.size() - 1);
        for (const wchar_t unit : text) {
            if (unit == L'\n') {
                elements.emplace_back();
            } else if (unit != L'\0') {
                elements.back() += unit;
            }
        }
        return elements;
    }
    std::wstring expectedText(const std::wstring& words) const {
        const std::wstring slashed = forward(home);
        const std::wstring data = workspaceAsArgument();
        return forward(base) + L"\\win32\\x86_64\\eclipse.exe\n--launcher.suppressErrors\n" + words +
               L"-data\n" + data + L"\n-configuration\n" + data +
               L"/.config\n-application\ncom.example.app\n-plugincustomization\n" + slashed +
               L"/custom.ini\n-product\ncom.example.product\n-vm\n" + slashed +
               L"/jvm/bin/javaw.exe\n-useDaemon\n" + platformNumber() + L"\n-startup\n" + forward(base) +
               L"/launcher.jar";
    }
    std::wstring workspaceAsArgument() const { return userHome.wstring() + L"/Mivel/ZEL/1234/" + userName; }
    // The tree below a directory with the size and the time of each file.
    static std::set<std::wstring> treeOf(const fs::path& directory) {
        std::set<std::wstring> tree;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
            std::wstring line = entry.path().wstring();
            if (entry.is_regular_file()) {
                line += L" " + std::to_wstring(entry.file_size()) + L" " +
                        std::to_wstring(entry.last_write_time().time_since_epoch().count());
            }
            tree.insert(line);
        }
        return tree;
    }
};

TEST_F(HandOff, ATextWhoseClientIsGoneBeforeAnybodyWaitsForItIsNotLost) {
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_TRUE(isPlatformRunning());
    endtoend::PipeClient slow(pipeName());
    ASSERT_TRUE(slow.isConnected());
    EXPECT_EQ(launch({L"quick"}), 0U) << log();
    EXPECT_TRUE(slow.write(L"slow"));
    slow.close();
    EXPECT_EQ(payload(1), std::wstring(L"slow") + L'\0');
    EXPECT_NE(payload(2).find(L"\nquick\n"), std::wstring::npos);
}

// Records are moved to their places, and a test may look at one before the mover has let go of it.
TEST_F(HandOff, ARecordIsReadWhileItsMoverStillHoldsIt) {
    const fs::path record = root / L"record.bin";
    write(record, "text");
    HANDLE mover = CreateFileW(record.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                               nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(mover, INVALID_HANDLE_VALUE);
    EXPECT_EQ(endtoend::bytesOf(record), "text");
    CloseHandle(mover);
}

TEST_F(HandOff, ASecondAndAThirdLauncherHandTheirWordsOver) {
    EXPECT_EQ(launch({L"first"}), 0U) << log();
    EXPECT_EQ(launch({L"second", L"two words"}), 0U) << log();
    EXPECT_TRUE(contains(log(), "ZLNCH0305I: We are daemon process\n"));
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ "));
    EXPECT_EQ(launch({L"third"}), 0U) << log();
    const std::vector<std::wstring> second = elementsOf(payload(1));
    EXPECT_EQ(payload(1).substr(0, expectedText(L"second\ntwo words\n").size()),
              expectedText(L"second\ntwo words\n"));
    EXPECT_NE(std::find(second.begin(), second.end(), L"-vmargs"), second.end());
    const std::vector<std::wstring> third = elementsOf(payload(2));
    EXPECT_EQ(third.at(2), L"third");
    EXPECT_TRUE(std::none_of(third.begin(), third.end(), [](const std::wstring& element) {
        return element.find(L'"') != std::wstring::npos;
    }));
    EXPECT_FALSE(hasPayload(3));
    EXPECT_TRUE(hasWord(L"first"));
}

TEST_F(HandOff, EveryKindOfWordArrivesAsItIs) {
    const std::vector<std::wstring> words = {
        L"two words", L"", L"\u65e5\u672c \u00e4", L"\U0001F600", L"a\\", L"100%s", L"\u0100", L"-x="};
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(launch(words), 0U) << log();
    const std::vector<std::wstring> elements = elementsOf(payload(1));
    ASSERT_GT(elements.size(), words.size() + 2);
    EXPECT_EQ(std::vector<std::wstring>(elements.begin() + 2,
                                        elements.begin() + 2 + static_cast<std::ptrdiff_t>(words.size())),
              words);
}

// A command line of the system has at most 32,767 characters, and a line of properties 1000; many of them
// bring the rest.
TEST_F(HandOff, AMebibyteArrivesUnchanged) {
    EXPECT_EQ(launch(), 0U);
    const fs::path properties = home / L"zel" / L"zellauncher.properties";
    std::string lines = read(properties);
    for (int i = 1; i <= 600; ++i) {
        lines += "config.long." + std::to_string(i) + "=" + std::to_string(1000 + i) +
                 std::string(900, static_cast<char>('a' + i % 26)) + "\r\n";
    }
    write(properties, lines);
    EXPECT_EQ(launch({L"-config", L"long"}), 0U) << log();
    const std::wstring text = payload(1);
    EXPECT_GT(text.size() * sizeof(wchar_t), 1024U * 1024U);
    const std::vector<std::wstring> elements = elementsOf(text);
    ASSERT_GT(elements.size(), 602U);
    for (int i = 1; i <= 600; ++i) {
        EXPECT_EQ(elements[static_cast<std::size_t>(i) + 1],
                  std::to_wstring(1000 + i) + std::wstring(900, static_cast<wchar_t>(L'a' + i % 26)));
    }
}

TEST_F(HandOff, TenLaunchersAtOnceAreServedOneAfterTheOther) {
    EXPECT_EQ(launch(), 0U);
    std::vector<Running> launchers;
    for (int i = 0; i < 10; ++i) {
        launchers.push_back(begin({L"-debug", L"word " + std::to_wstring(i)}));
    }
    for (const Running& launcher : launchers) {
        EXPECT_EQ(waitFor(launcher), 0U);
    }
    std::set<std::wstring> words;
    for (int i = 1; i <= 10; ++i) {
        const std::wstring text = payload(i);
        const std::vector<std::wstring> elements = elementsOf(text);
        EXPECT_EQ(std::count(elements.begin(), elements.end(), L"-useDaemon"), 1) << i;
        const auto word = std::find_if(elements.begin(), elements.end(), [](const std::wstring& element) {
            return element.starts_with(L"word ");
        });
        ASSERT_NE(word, elements.end());
        words.insert(*word);
    }
    EXPECT_EQ(words.size(), 10U);
    EXPECT_FALSE(hasPayload(11));
}

TEST_F(HandOff, ExtensionJarsComeLast) {
    layOut();
    fs::create_directory(root / L"vxext");
    write(root / L"vxext" / L"one.jar", "");
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(platformWords().back(), L"-cp=" + forward(root) + L"/vxext/one.jar");
    EXPECT_EQ(launch({L"hello"}), 0U) << log();
    EXPECT_EQ(elementsOf(payload(1)).back(), L"-cp=" + forward(root) + L"/vxext/one.jar");
}

TEST_F(HandOff, APlatformWithoutItsPipeIsReportedInTheSystemsWords) {
    scriptLines = {"no-pipe"};
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(launch({L"hello"}), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0142E: Unable to find pipe  Failed with error ")) << log();
    EXPECT_TRUE(isLockFree());
}

TEST_F(HandOff, ANameBehindBlankLinesIsFound) {
    scriptLines = {"blank-lines 3"};
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(launch({L"hello"}), 0U) << log();
    EXPECT_EQ(elementsOf(payload(1)).at(2), L"hello");
}

// Without a name that can be found the platform counts as dead, and its endpoint goes.
TEST_F(HandOff, AnEndpointThatNamesNothingIsThatOfADeadPlatform) {
    layOut();
    for (const std::string& content :
         {std::string(), std::string("\r\n\r\n"), std::string("nothing"), std::string(3000, 'x')}) {
        write(workspace() / L".pipe", content);
        write(workspace() / L".zel.lock", "4711          ");
        EXPECT_EQ(launch(), 0U) << log();
        EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
        EXPECT_TRUE(read(workspace() / L".pipe").starts_with("\\\\.\\pipe\\standin-"));
        stopPlatform();
    }
}

TEST_F(HandOff, ACommandAloneReachesThePlatformAndTouchesNothing) {
    EXPECT_EQ(launch(), 0U);
    fs::remove_all(workspace() / L"applications");
    const std::set<std::wstring> before = treeOf(workspace() / L".config");
    EXPECT_EQ(launch({L"-dcommand_only", L"hello"}), 0U);
    EXPECT_EQ(elementsOf(payload(1)).at(2), L"-dcommand_only");
    EXPECT_EQ(elementsOf(payload(1)).at(3), L"hello");
    EXPECT_EQ(treeOf(workspace() / L".config"), before);
    EXPECT_FALSE(fs::exists(workspace() / L"applications"));
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ "));
}

TEST_F(HandOff, ACommandAloneNeedsAPlatformThatRuns) {
    EXPECT_EQ(launch(), 0U);
    stopPlatform();
    fs::remove_all(workspace() / L"applications");
    const std::set<std::wstring> before = treeOf(workspace() / L".config");
    EXPECT_EQ(launch({L"-dcommand_only"}), fatalStatus);
    EXPECT_TRUE(log().ends_with("ZLNCH0145E: eclipse.exe process is not running\n"));
    EXPECT_EQ(treeOf(workspace() / L".config"), before);
    EXPECT_FALSE(fs::exists(workspace() / L"applications"));
}

TEST_F(HandOff, ACommandAloneOfAUserWhoNeverStartedMakesNothing) {
    layOut();
    const bool hadWorkspace = fs::exists(workspace());
    EXPECT_EQ(launch({L"-dcommand_only"}), fatalStatus);
    EXPECT_EQ(fs::exists(workspace()), hadWorkspace);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0019E: Could not open "));
}

}  // namespace
