#include <windows.h>

#include <algorithm>

#include "endtoend.h"
#include "held_files.h"
#include "support/text.h"

// Starts while the platform runs: the launcher hands its arguments over, and the platform records them.
namespace {

using endtoend::Arguments;
using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::forward;
using endtoend::Running;
using endtoend::Tree;
using endtoend::treeOf;
namespace fs = std::filesystem;

class HandOff : public EndToEnd {
protected:
    // The whole text, with the user's arguments one on each line.
    std::wstring expectedText(const std::wstring& userLines) const {
        const std::wstring slashed = forward(install);
        const std::wstring plain = endtoend::backward(install);
        const std::wstring data = workspaceArgument();
        const std::wstring platformId = launchertest::fromUtf8(platformProcessId());
        return forward(base) + L"\\win32\\x86_64\\eclipse.exe\n--launcher.suppressErrors\n" + userLines +
               L"-data\n" + data + L"\n-configuration\n" + data +
               L"/.config\n-application\ncom.example.app\n-plugincustomization\n" + slashed +
               L"/custom.ini\n-product\ncom.example.product\n-vm\n" + slashed +
               L"/jvm/bin/javaw.exe\n-useDaemon\n" + platformId + L"\n-startup\n" + forward(base) +
               L"/launcher.jar\n-vmargs\n-Dzel.home=" + plain + L"\n-Dzel.data=" + data +
               L"\n-Dcom.mivel.zel.install.id=1234\n-Dzel.install.config=user\n-Dzel.osgi.install.area=" +
               plain + L"\\zel\\eclipse\n-Xmx512m\n-Xbootclasspath/a:" + slashed + L"/boot.jar" + L'\0';
    }
};

TEST_F(HandOff, TextOfAClientThatIsGoneIsStillRead) {
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_TRUE(isPlatformRunning());
    endtoend::PipeClient slow(pipeName());
    ASSERT_TRUE(slow.isConnected());
    // Without the comparison of launch, which would wait for the text.
    EXPECT_EQ(waitFor(begin({L"quick"})), 0U) << log();
    EXPECT_TRUE(slow.write(L"slow"));
    slow.close();
    EXPECT_EQ(payload(1), std::wstring(L"slow") + L'\0');
    EXPECT_NE(payload(2).find(L"\nquick\n"), std::wstring::npos);
}

// The standin renames its records into place, and a test may read one before the rename is over.
TEST_F(HandOff, RecordIsReadableWhileItsWriterHasItOpen) {
    const fs::path record = root / L"record.bin";
    write(record, "text");
    HANDLE writer =
        CreateFileW(record.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    EXPECT_EQ(endtoend::bytesOf(record), "text");
    CloseHandle(writer);
}

TEST_F(HandOff, SecondAndThirdStartHandTheirArgumentsOver) {
    EXPECT_EQ(launch({L"first"}), 0U) << log();
    EXPECT_EQ(launch({L"second", L"two words"}), 0U) << log();
    EXPECT_TRUE(contains(log(), "ZLNCH0305I: We are daemon process\n"));
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ "));
    EXPECT_EQ(launch({L"third"}), 0U) << log();
    EXPECT_EQ(payload(1), expectedText(L"second\ntwo words\n"));
    EXPECT_EQ(payload(2), expectedText(L"third\n"));
    EXPECT_FALSE(hasPayload(3));
    EXPECT_TRUE(hasArgument(L"first"));
}

TEST_F(HandOff, EveryKindOfArgumentArrivesUnchanged) {
    const Arguments arguments = {L"two words", L"",   L"\u65e5\u672c \u00e4", L"\U0001F600", L"a\\", L"100%s",
                                 L"\u0100",    L"-x="};
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(launch(arguments), 0U) << log();
    const Arguments received = handedOver(1);
    ASSERT_GT(received.size(), arguments.size() + 2);
    const auto first = received.begin() + 2;
    EXPECT_EQ(Arguments(first, first + static_cast<std::ptrdiff_t>(arguments.size())), arguments);
}

// The arguments come from many lines of a property file, because a command line has at most 32,767
// characters and such a line 1000.
TEST_F(HandOff, OneMebibyteArrivesUnchanged) {
    EXPECT_EQ(launch(), 0U);
    const fs::path properties = install / L"zel" / L"zellauncher.properties";
    std::string lines = read(properties);
    for (int i = 1; i <= 600; ++i) {
        lines += "config.long." + std::to_string(i) + "=" + std::to_string(1000 + i) +
                 std::string(900, static_cast<char>('a' + i % 26)) + "\r\n";
    }
    write(properties, lines);
    EXPECT_EQ(launch({L"-config", L"long"}), 0U) << log();
    EXPECT_GT(payload(1).size() * sizeof(wchar_t), 1024U * 1024U);
    const Arguments received = handedOver(1);
    ASSERT_GT(received.size(), 602U);
    for (int i = 1; i <= 600; ++i) {
        EXPECT_EQ(received[static_cast<std::size_t>(i) + 1],
                  std::to_wstring(1000 + i) + std::wstring(900, static_cast<wchar_t>(L'a' + i % 26)));
    }
}

TEST_F(HandOff, TenLaunchersAtOnceAreAllServed) {
    EXPECT_EQ(launch(), 0U);
    std::vector<Running> launchers;
    for (int i = 0; i < 10; ++i) {
        launchers.push_back(begin({L"-debug", L"word " + std::to_wstring(i)}));
    }
    for (const Running& launcher : launchers) {
        EXPECT_EQ(waitFor(launcher), 0U);
    }
    std::set<std::wstring> arguments;
    for (int i = 1; i <= 10; ++i) {
        const Arguments received = handedOver(i);
        EXPECT_EQ(std::count(received.begin(), received.end(), L"-useDaemon"), 1) << i;
        const auto argument = std::find_if(received.begin(), received.end(), [](const std::wstring& line) {
            return line.starts_with(L"word ");
        });
        ASSERT_NE(argument, received.end());
        arguments.insert(*argument);
    }
    EXPECT_EQ(arguments.size(), 10U);
    EXPECT_FALSE(hasPayload(11));
}

TEST_F(HandOff, ExtensionJarsComeLast) {
    layOut();
    fs::create_directory(root / L"vxext");
    write(root / L"vxext" / L"one.jar", "");
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(platformArguments().back(), L"-cp=" + forward(root) + L"/vxext/one.jar");
    EXPECT_EQ(launch({L"hello"}), 0U) << log();
    EXPECT_EQ(handedOver(1).back(), L"-cp=" + forward(root) + L"/vxext/one.jar");
}

TEST_F(HandOff, MissingPipeIsFatal) {
    scriptLines = {"no-pipe"};
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(launch({L"hello"}), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0142E: Unable to find pipe  Failed with error ")) << log();
    EXPECT_TRUE(isLockFree());
}

TEST_F(HandOff, PipeNameAfterBlankLinesIsFound) {
    scriptLines = {"blank-lines 3"};
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(launch({L"hello"}), 0U) << log();
    EXPECT_EQ(handedOver(1).at(2), L"hello");
}

TEST_F(HandOff, PipeFileWithoutAUsableNameIsReplaced) {
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

TEST_F(HandOff, CommandOnlyHandsOverAndChangesNothing) {
    EXPECT_EQ(launch(), 0U);
    endtoend::removeAll(workspace() / L"applications");
    const Tree before = treeOf(workspace() / L".config");
    EXPECT_EQ(launch({L"-dcommand_only", L"hello"}), 0U);
    EXPECT_EQ(payload(1), expectedText(L"-dcommand_only\nhello\n"));
    EXPECT_EQ(treeOf(workspace() / L".config"), before);
    EXPECT_FALSE(fs::exists(workspace() / L"applications"));
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ "));
}

TEST_F(HandOff, CommandOnlyWithoutPlatformIsFatal) {
    EXPECT_EQ(launch(), 0U);
    stopPlatform();
    endtoend::removeAll(workspace() / L"applications");
    const Tree before = treeOf(workspace() / L".config");
    EXPECT_EQ(launch({L"-dcommand_only"}), fatalStatus);
    EXPECT_TRUE(log().ends_with("ZLNCH0145E: eclipse.exe process is not running\n"));
    EXPECT_EQ(treeOf(workspace() / L".config"), before);
    EXPECT_FALSE(fs::exists(workspace() / L"applications"));
}

TEST_F(HandOff, CommandOnlyOfANewUserCreatesNothing) {
    layOut();
    const bool hadWorkspace = fs::exists(workspace());
    EXPECT_EQ(launch({L"-dcommand_only"}), fatalStatus);
    EXPECT_EQ(fs::exists(workspace()), hadWorkspace);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0019E: Could not open "));
}

}  // namespace
