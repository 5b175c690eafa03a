#include "configuration/restart_state.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "properties/property_reader.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::failing;
using zellauncher::Arguments;
using zellauncher::Assignment;
using zellauncher::PropertyList;
using zellauncher::splitAssignment;

constexpr const wchar_t* path = L"C:\\c\\args.properties";
const std::string programLine = "arg0=C\\:\\\\Apps\\\\framework\\\\Client\\\\zel\\\\zellauncher.exe\r\n";
const std::string pathLine = "com.mivel.zel.core.internal.librarypath=C\\:\\\\Windows\\\\System32\r\n";

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

// The content of the file without a restart program. `argc` is the last argument's number plus one.
std::string stateOf(const std::string& argumentLines, int argumentCount) {
    return programLine + argumentLines + "argc=" + std::to_string(argumentCount) + "\r\n" + pathLine;
}

class RestartState : public launchertest::OnMachine {
protected:
    PropertyList launcher;
    std::wstring program;
    launchertest::Outcome outcome;

    RestartState() { machine.makeDirectory(L"C:\\c"); }

    std::string state(const Arguments& arguments) {
        outcome =
            run([&] { zellauncher::writeRestartState(arguments, L"C:/c", program, launcher, L"C:\\p"); });
        return machine.readFile(path).value_or("(absent)");
    }
    std::wstring restartProgram(const Arguments& arguments) {
        return zellauncher::resolveRestartProgram(arguments, launcher, L"C:\\p");
    }
};

TEST_F(RestartState, RecordsProgramArgumentsCountAndPath) {
    EXPECT_EQ(state({L"prog", L"-data", L"C:\\ws", L"-x"}),
              stateOf("arg1=-data\r\narg2=C\\:\\\\ws\r\narg3=-x\r\n", 4));
}

TEST_F(RestartState, OmitsOptionsOfTheRestartItself) {
    EXPECT_EQ(state({L"prog", L"-zel_old_pid", L"123", L"-y", L"-resetconfig", L"-restart", L"-z"}),
              stateOf("arg1=-y\r\narg2=-z\r\n", 3));
    EXPECT_EQ(state({L"prog", L"-a", L"-zel_old_pid"}), stateOf("arg1=-a\r\n", 2));
}

TEST_F(RestartState, WorkspaceIsStoredAsFullPath) {
    machine.setCurrentDirectory(L"C:\\work");
    EXPECT_EQ(state({L"prog", L"-data", L"here"}), stateOf("arg1=-data\r\narg2=C\\:\\\\work\\\\here\r\n", 3));
    EXPECT_EQ(state({L"prog", L"-data", L"${zel.home}/w/"}),
              stateOf("arg1=-data\r\narg2=C\\:\\\\p/w/\r\n", 3));  // keeps its trailing separator
    EXPECT_EQ(state({L"prog", L"-data"}), stateOf("arg1=-data\r\n", 2));
    EXPECT_EQ(state({L"prog", L"${zel.home}"}), stateOf("arg1=${zel.home}\r\n", 2));
}

TEST_F(RestartState, SpecialCharactersAreEscaped) {
    EXPECT_EQ(state({L"prog", L"a b", L"k=v", L"#!", L"\u65e5"}),
              stateOf("arg1=a b\r\narg2=k\\=v\r\narg3=\\#\\!\r\narg4=\\u65e5\r\n", 5));
}

TEST_F(RestartState, TooLongArgumentIsStoredEmpty) {
    EXPECT_EQ(state({L"prog", std::wstring(1000, L'a'), std::wstring(1001, L'b'), std::wstring(501, L':')}),
              stateOf("arg1=" + std::string(1000, 'a') + "\r\narg2=\r\narg3=\r\n", 4));
}

TEST_F(RestartState, ReaderRestoresTheArguments) {
    state({L"prog", L"C:\\a=b c", L"\u65e5"});
    PropertyList list;
    run([&] { zellauncher::loadPropertyFile(path, list); });
    EXPECT_EQ(*zellauncher::lookupProperty(L"arg1", list), L"C:\\a=b c");
    EXPECT_EQ(*zellauncher::lookupProperty(L"arg2", list), L"\u65e5");
    EXPECT_EQ(*zellauncher::lookupProperty(L"argc", list), L"3");
}

TEST_F(RestartState, UnsetPathIsStoredEmpty) {
    machine.unsetEnvironment(L"PATH");
    EXPECT_EQ(state({L"prog"}), programLine + "argc=1\r\ncom.mivel.zel.core.internal.librarypath=\r\n");
}

TEST_F(RestartState, RestartProgramReplacesArgumentZero) {
    program = L"C:\\p\\zel\\app.exe";
    EXPECT_EQ(state({L"prog"}), "arg0=C\\:\\\\p\\\\zel\\\\app.exe\r\nargc=1\r\n" + pathLine);
}

TEST_F(RestartState, RestartProgramFollowsTheConfigurationName) {
    launcher = {{L"config.app.restartExe.win32", L"${zel.home}/zel/app.exe"}};
    EXPECT_EQ(restartProgram({L"prog", L"-config", L"app"}), L"C:\\p\\zel\\app.exe");
    EXPECT_EQ(restartProgram({L"prog", L"-config", L"App"}), L"");
    EXPECT_EQ(restartProgram({L"prog", L"-config"}), L"");
    EXPECT_EQ(restartProgram({L"prog"}), L"");
}

TEST_F(RestartState, FileIsOverwritten) {
    machine.writeFile(path, std::string(5000, 'x'));
    EXPECT_EQ(state({L"prog"}), stateOf("", 1));
}

TEST_F(RestartState, EachWriteFailureIsFatal) {
    const std::vector<std::pair<std::uint64_t, std::string>> cases = {
        {1, "ZLNCH0020E: Error writing to C:\\c\\args.properties file."},
        {2, "ZLNCH0116E: Error writing to C:\\c\\args.properties file."},
        {3, "ZLNCH0117E: Error writing to C:\\c\\args.properties file."}};
    for (const auto& [nth, message] : cases) {
        machine.clearFaults();
        machine.inject(failing("writeStream", platform::errorAccessDenied, L"args.properties", nth));
        state({L"prog"});
        outcome.expectFatal(message);
    }
    machine.clearFaults();
    machine.inject(failing("closeStream", platform::errorDiskFull));
    state({L"prog"});
    outcome.expectFatal("ZLNCH0117E: Error writing to C:\\c\\args.properties file.");
    machine.remove(L"C:\\c");
    state({L"prog"});
    outcome.expectFatal("ZLNCH0097E: Could not open C:\\c\\args.properties for writing!");
}

TEST_F(RestartState, MissingLauncherIsFatal) {
    outcome = run([&] {
        machine.remove(L"C:\\Apps");
        zellauncher::writeRestartState({L"prog"}, L"C:/c", L"", launcher, L"C:\\p");
    });
    outcome.expectFatal("ZLNCH0047E: Unable to locate C:\\Apps\\framework\\Client\\zel\\zellauncher.exe");
}

TEST_F(RestartState, LengthLimitAppliesToTheEscapedValue) {
    EXPECT_EQ(state({L"prog", std::wstring(500, L':'), std::wstring(499, L':') + L"aaa",
                     std::wstring(166, L'\u65e5') + L"aaaa", std::wstring(166, L'\u65e5') + L"aaaaa"}),
              stateOf("arg1=" + repeated("\\:", 500) + "\r\narg2=\r\narg3=" + repeated("\\u65e5", 166) +
                          "aaaa\r\narg4=\r\n",
                      5));
}

TEST_F(RestartState, PathHasNoLengthLimit) {
    machine.setEnvironment(L"PATH", std::wstring(5000, L'p'));
    EXPECT_EQ(state({L"prog"}), programLine + "argc=1\r\ncom.mivel.zel.core.internal.librarypath=" +
                                    std::string(5000, 'p') + "\r\n");
}

TEST_F(RestartState, OnlyTheFirstOfEachOptionIsOmitted) {
    EXPECT_EQ(state({L"-restart", L"-restart", L"-restart", L"-resetconfig", L"-resetconfig", L"-zel_old_pid",
                     L"1", L"-zel_old_pid", L"2"}),
              stateOf("arg1=-restart\r\narg2=-resetconfig\r\narg3=-zel_old_pid\r\narg4=2\r\n", 5));
    EXPECT_EQ(state({L"prog", L"-Restart", L"-resetconfig2"}),
              stateOf("arg1=-Restart\r\narg2=-resetconfig2\r\n", 3));
}

TEST_F(RestartState, OnlyTheFirstWorkspaceIsMadeFull) {
    EXPECT_EQ(state({L"prog", L"-data", L"a", L"-data", L"b"}),
              stateOf("arg1=-data\r\narg2=C\\:\\\\a\r\narg3=-data\r\narg4=b\r\n", 5));
    // After a program of that name, argument 1 is the workspace.
    EXPECT_EQ(state({L"-data", L"a", L"-data", L"b"}),
              stateOf("arg1=C\\:\\\\a\r\narg2=-data\r\narg3=b\r\n", 4));
}

TEST_F(RestartState, TokensInTheWorkspaceAreResolved) {
    launcher = {{L"x", L"C:/x"}};
    EXPECT_EQ(state({L"prog", L"-data", L"${prop.x}/${env.NONE}"}),
              stateOf("arg1=-data\r\narg2=C\\:/x/${env.NONE}\r\n", 3));
    state({L"prog", L"-data", L"${env.NONE}"});
    outcome.expectFatal("ZLNCH0301E: Starts with placeholder. This should be translated");
    state({L"prog", L"-data", std::wstring(300, L'a')});
    outcome.expectFatal("ZLNCH0302E: Unable to convert relative workspace path to a full path");
}

TEST_F(RestartState, RestartProgramFollowsTheFirstConfig) {
    launcher = {{L"config.a.restartExe.win32", L"${zel.home}/${zel.home}"},
                {L"config.a.restartExe.win32", L"other"},
                {L"config.b.restartExe", L"b"},
                {L"config.b.restartExe.linux", L"b"},
                {L"config..restartExe.win32", L"nameless"}};
    EXPECT_EQ(restartProgram({L"prog", L"-config", L"a", L"-config", L"b"}), L"C:\\p\\${zel.home}");
    EXPECT_EQ(restartProgram({L"prog", L"-config", L"b", L"-config", L"a"}), L"");
    EXPECT_EQ(restartProgram({L"prog", L"-config", L""}), L"nameless");
    EXPECT_EQ(restartProgram({L"-config", L"a"}), L"");
    EXPECT_EQ(restartProgram({L"prog", L"-Config", L"a"}), L"");
    EXPECT_EQ(restartProgram({L"a"}), L"");  // the program is not a name
}

TEST_F(RestartState, UnopenableFileIsFatalAndKept) {
    machine.writeFile(path, "kept");
    machine.refuse(path, platform::errorAccessDenied);
    state({L"prog"});
    outcome.expectFatal("ZLNCH0097E: Could not open C:\\c\\args.properties for writing!");
    EXPECT_EQ(machine.readFile(path), "kept");
}

TEST_F(RestartState, FullDiskIsFatal) {
    outcome = runQuietly([&] {
        machine.setFreeSpace(20);
        zellauncher::writeRestartState({L"prog"}, L"C:/c", program, launcher, L"C:\\p");
    });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_TRUE(machine.exists(path));
}

TEST(Assignments, AreSplitAtTheFirstEqualsSign) {
    const Assignment split = splitAssignment(L"a=b=c");
    EXPECT_EQ(split.key, L"a");
    EXPECT_EQ(split.value, L"b=c");
    EXPECT_EQ(split.text, L"a=b=c");
    const Assignment keyOnly = splitAssignment(L"alone");
    EXPECT_EQ(keyOnly.key, L"alone");
    EXPECT_EQ(keyOnly.value, L"");
    EXPECT_EQ(keyOnly.text, L"alone=");
    EXPECT_EQ(splitAssignment(L"a=" + std::wstring(1001, L'x')).text, L"a=");
}

TEST(Assignments, ValueMayHaveAThousandCharacters) {
    const std::wstring longest(1000, L'x');
    const Assignment assignment = splitAssignment(L"a=" + longest);
    EXPECT_EQ(assignment.value, longest);
    EXPECT_EQ(assignment.text, L"a=" + longest);
    EXPECT_EQ(splitAssignment(L"=v").key, L"");
    EXPECT_EQ(splitAssignment(L"=v").text, L"=v");
    EXPECT_EQ(splitAssignment(L"").text, L"=");
    // Keys have no limit.
    EXPECT_EQ(splitAssignment(std::wstring(1500, L'k')).text, std::wstring(1500, L'k') + L"=");
}

}  // namespace
