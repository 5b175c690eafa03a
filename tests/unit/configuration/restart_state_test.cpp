#include "configuration/restart_state.h"

#include <gtest/gtest.h>

#include "properties/property_reader.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::PropertyList;

constexpr const wchar_t* path = L"C:\\c\\args.properties";
const std::string own = "arg0=C\\:\\\\Apps\\\\framework\\\\Client\\\\zel\\\\zellauncher.exe\r\n";
const std::string pathLine = "com.mivel.zel.core.internal.librarypath=C\\:\\\\Windows\\\\System32\r\n";

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) {
        all += text;
    }
    return all;
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
        std::wstring found;
        zellauncher::resolveRestartProgram(found, arguments, launcher, L"C:\\p");
        return found;
    }
    void expectFatal(const std::string& message) {
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.lastLine(), message);
    }
};

TEST_F(RestartState, RecordsTheProgramTheWordsTheirNumberAndThePath) {
    EXPECT_EQ(state({L"prog", L"-data", L"C:\\ws", L"-x"}),
              own + "arg1=-data\r\narg2=C\\:\\\\ws\r\narg3=-x\r\nargc=4\r\n" + pathLine);
}

TEST_F(RestartState, LeavesOutWhatConcernsTheRestartItself) {
    EXPECT_EQ(state({L"prog", L"-zel_old_pid", L"123", L"-y", L"-resetconfig", L"-restart", L"-z"}),
              own + "arg1=-y\r\narg2=-z\r\nargc=3\r\n" + pathLine);
    EXPECT_EQ(state({L"prog", L"-a", L"-zel_old_pid"}), own + "arg1=-a\r\nargc=2\r\n" + pathLine);
}

TEST_F(RestartState, StoresAFullWorkspace) {
    machine.setCurrentDirectory(L"C:\\work");
    EXPECT_EQ(state({L"prog", L"-data", L"here"}),
              own + "arg1=-data\r\narg2=C\\:\\\\work\\\\here\r\nargc=3\r\n" + pathLine);
    EXPECT_EQ(state({L"prog", L"-data", L"${zel.home}/w/"}),
              own + "arg1=-data\r\narg2=C\\:\\\\p/w/\r\nargc=3\r\n" + pathLine);  // the separator stays
    EXPECT_EQ(state({L"prog", L"-data"}), own + "arg1=-data\r\nargc=2\r\n" + pathLine);
    EXPECT_EQ(state({L"prog", L"${zel.home}"}), own + "arg1=${zel.home}\r\nargc=2\r\n" + pathLine);
}

TEST_F(RestartState, EscapesWhatTheReaderWouldTakeForItsOwn) {
    EXPECT_EQ(state({L"prog", L"a b", L"k=v", L"#!", L"\u65e5"}),
              own + "arg1=a b\r\narg2=k\\=v\r\narg3=\\#\\!\r\narg4=\\u65e5\r\nargc=5\r\n" + pathLine);
}

TEST_F(RestartState, ATooLongWordIsLost) {
    EXPECT_EQ(state({L"prog", std::wstring(1000, L'a'), std::wstring(1001, L'b'), std::wstring(501, L':')}),
              own + "arg1=" + std::string(1000, 'a') + "\r\narg2=\r\narg3=\r\nargc=4\r\n" + pathLine);
}

TEST_F(RestartState, ComesBackAsItWas) {
    state({L"prog", L"C:\\a=b c", L"\u65e5"});
    PropertyList list;
    run([&] { zellauncher::loadPropertyFile(path, list); });
    EXPECT_EQ(*zellauncher::lookupProperty(L"arg1", list), L"C:\\a=b c");
    EXPECT_EQ(*zellauncher::lookupProperty(L"arg2", list), L"\u65e5");
    EXPECT_EQ(*zellauncher::lookupProperty(L"argc", list), L"3");
}

TEST_F(RestartState, APathThatIsNotSetIsEmpty) {
    machine.unsetEnvironment(L"PATH");
    EXPECT_EQ(state({L"prog"}), own + "argc=1\r\ncom.mivel.zel.core.internal.librarypath=\r\n");
}

TEST_F(RestartState, AProgramOfItsOwn) {
    program = L"C:\\p\\zel\\app.exe";
    EXPECT_EQ(state({L"prog"}), "arg0=C\\:\\\\p\\\\zel\\\\app.exe\r\nargc=1\r\n" + pathLine);
}

TEST_F(RestartState, AProgramIsFoundByTheNameOfTheConfiguration) {
    launcher = {{L"config.app.restartExe.win32", L"${zel.home}/zel/app.exe"}};
    EXPECT_EQ(restartProgram({L"prog", L"-config", L"app"}), L"C:\\p\\zel\\app.exe");
    EXPECT_EQ(restartProgram({L"prog", L"-config", L"App"}), L"");
    EXPECT_EQ(restartProgram({L"prog", L"-config"}), L"");
    EXPECT_EQ(restartProgram({L"prog"}), L"");
}

TEST_F(RestartState, TheFileIsWrittenAnew) {
    machine.writeFile(path, std::string(5000, 'x'));
    EXPECT_EQ(state({L"prog"}), own + "argc=1\r\n" + pathLine);
}

TEST_F(RestartState, EachFailureIsFatal) {
    const auto fail = [&](std::uint64_t nth) {
        machine.clearFaults();
        simulation::Fault fault;
        fault.operation = "writeStream";
        fault.argumentEndsWith = L"args.properties";
        fault.nth = nth;
        machine.inject(fault);
    };
    fail(1);
    state({L"prog"});
    expectFatal("ZLNCH0020E: Error writing to C:\\c\\args.properties file.");
    fail(2);
    state({L"prog"});
    expectFatal("ZLNCH0116E: Error writing to C:\\c\\args.properties file.");
    fail(3);
    state({L"prog"});
    expectFatal("ZLNCH0117E: Error writing to C:\\c\\args.properties file.");
    machine.clearFaults();
    simulation::Fault fault;
    fault.operation = "closeStream";
    fault.error = platform::errorDiskFull;
    machine.inject(fault);
    state({L"prog"});
    expectFatal("ZLNCH0117E: Error writing to C:\\c\\args.properties file.");
    machine.remove(L"C:\\c");
    state({L"prog"});
    expectFatal("ZLNCH0097E: Could not open C:\\c\\args.properties for writing!");
}

TEST_F(RestartState, AnUnknownLauncherIsFatal) {
    outcome = run([&] {
        machine.remove(L"C:\\Apps");
        zellauncher::writeRestartState({L"prog"}, L"C:/c", L"", launcher, L"C:\\p");
    });
    expectFatal("ZLNCH0047E: Unable to locate C:\\Apps\\framework\\Client\\zel\\zellauncher.exe");
}

TEST_F(RestartState, TheLimitIsThatOfTheEscapedValue) {
    EXPECT_EQ(state({L"prog", std::wstring(500, L':'), std::wstring(499, L':') + L"aaa",
                     std::wstring(166, L'\u65e5') + L"aaaa", std::wstring(166, L'\u65e5') + L"aaaaa"}),
              own + "arg1=" + repeated("\\:", 500) + "\r\narg2=\r\narg3=" + repeated("\\u65e5", 166) +
                  "aaaa\r\narg4=\r\nargc=5\r\n" + pathLine);
}

TEST_F(RestartState, APathOfAnyLengthIsWritten) {
    machine.setEnvironment(L"PATH", std::wstring(5000, L'p'));
    EXPECT_EQ(state({L"prog"}),
              own + "argc=1\r\ncom.mivel.zel.core.internal.librarypath=" + std::string(5000, 'p') + "\r\n");
}

TEST_F(RestartState, OnlyTheFirstOfEachSpecialWordIsLeftOut) {
    EXPECT_EQ(
        state({L"-restart", L"-restart", L"-restart", L"-resetconfig", L"-resetconfig", L"-zel_old_pid", L"1",
               L"-zel_old_pid", L"2"}),
        own + "arg1=-restart\r\narg2=-resetconfig\r\narg3=-zel_old_pid\r\narg4=2\r\nargc=5\r\n" + pathLine);
    EXPECT_EQ(state({L"prog", L"-Restart", L"-resetconfig2"}),
              own + "arg1=-Restart\r\narg2=-resetconfig2\r\nargc=3\r\n" + pathLine);
}

TEST_F(RestartState, OnlyTheFirstWorkspaceIsMadeFull) {
    EXPECT_EQ(state({L"prog", L"-data", L"a", L"-data", L"b"}),
              own + "arg1=-data\r\narg2=C\\:\\\\a\r\narg3=-data\r\narg4=b\r\nargc=5\r\n" + pathLine);
    // A program that is called like the option has its workspace behind it.
    EXPECT_EQ(state({L"-data", L"a", L"-data", L"b"}),
              own + "arg1=C\\:\\\\a\r\narg2=-data\r\narg3=b\r\nargc=4\r\n" + pathLine);
}

TEST_F(RestartState, TokensOfTheWorkspaceAreResolved) {
    launcher = {{L"x", L"C:/x"}};
    EXPECT_EQ(state({L"prog", L"-data", L"${prop.x}/${env.NONE}"}),
              own + "arg1=-data\r\narg2=C\\:/x/${env.NONE}\r\nargc=3\r\n" + pathLine);
    state({L"prog", L"-data", L"${env.NONE}"});
    expectFatal("ZLNCH0301E: Starts with placeholder. This should be translated");
    state({L"prog", L"-data", std::wstring(300, L'a')});
    expectFatal("ZLNCH0302E: Unable to convert relative workspace path to a full path");
}

TEST_F(RestartState, TheProgramOfAConfigurationIsTheFirstOneNamed) {
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
    EXPECT_EQ(restartProgram({L"a"}), L"");  // the program's word is no name
}

TEST_F(RestartState, AFileThatCannotBeOpenedIsFatal) {
    machine.writeFile(path, "kept");
    machine.refuse(path, platform::errorAccessDenied);
    state({L"prog"});
    expectFatal("ZLNCH0097E: Could not open C:\\c\\args.properties for writing!");
    EXPECT_EQ(machine.readFile(path), "kept");
}

TEST_F(RestartState, AFullDiskEndsTheStart) {
    outcome = runQuietly([&] {
        machine.setFreeSpace(20);
        zellauncher::writeRestartState({L"prog"}, L"C:/c", program, launcher, L"C:\\p");
    });
    EXPECT_TRUE(outcome.isFatal());
}

TEST(Assignments, AreSplitAtTheirFirstEqualsSign) {
    std::wstring key;
    std::wstring value;
    std::wstring result;
    zellauncher::splitAssignment(L"a=b=c", key, value, result);
    EXPECT_EQ(key, L"a");
    EXPECT_EQ(value, L"b=c");
    EXPECT_EQ(result, L"a=b=c");
    zellauncher::splitAssignment(L"alone", key, value, result);
    EXPECT_EQ(key, L"alone");
    EXPECT_EQ(value, L"");
    EXPECT_EQ(result, L"alone=");
    zellauncher::splitAssignment(L"a=" + std::wstring(1001, L'x'), key, value, result);
    EXPECT_EQ(result, L"a=");
}

TEST(Assignments, AValueMayHaveAThousandCharacters) {
    std::wstring key = L"left over";
    std::wstring value = L"left over";
    std::wstring result = L"left over";
    const std::wstring longest(1000, L'x');
    zellauncher::splitAssignment(L"a=" + longest, key, value, result);
    EXPECT_EQ(value, longest);
    EXPECT_EQ(result, L"a=" + longest);
    zellauncher::splitAssignment(L"=v", key, value, result);
    EXPECT_EQ(key, L"");
    EXPECT_EQ(result, L"=v");
    zellauncher::splitAssignment(L"", key, value, result);
    EXPECT_EQ(result, L"=");
    zellauncher::splitAssignment(std::wstring(1500, L'k'), key, value, result);
    EXPECT_EQ(result, std::wstring(1500, L'k') + L"=");  // the limit is for values alone
}

}  // namespace
