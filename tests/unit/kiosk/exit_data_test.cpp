#include "kiosk/exit_data.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/errors.h"
#include "platform/files.h"
#include "support/launcher_fixture.h"

namespace {

constexpr const wchar_t* exitData = L"C:\\Users\\ann\\.exitData";

class ExitData : public launchertest::OnMachine {
protected:
    bool doesExist() {
        bool answer = false;
        run([&] {
            zellauncher::settleExitDataPath();
            answer = zellauncher::exitDataExists();
        });
        return answer;
    }
    // Compares the first line of a file of this content with a word.
    bool isWord(const std::string& content, const wchar_t* word) {
        machine.writeFile(exitData, content);
        bool answer = false;
        run([&] {
            zellauncher::settleExitDataPath();
            EXPECT_TRUE(zellauncher::exitDataExists());
            answer = zellauncher::isExitData(word);
        });
        return answer;
    }
};

TEST_F(ExitData, FileExistsIfItCanBeRead) {
    EXPECT_FALSE(doesExist());
    machine.writeFile(exitData, "");
    EXPECT_TRUE(doesExist());
    machine.refuse(exitData, platform::errorAccessDenied);
    EXPECT_FALSE(doesExist());
}

TEST_F(ExitData, FileIsInTheRootWithoutAHomePath) {
    machine.unsetEnvironment(L"HOMEPATH");
    EXPECT_FALSE(doesExist());
    machine.writeFile(L"C:\\.exitData", "");
    EXPECT_TRUE(doesExist());
}

// Such as that of a home drive.
class RootAsHomePath : public ExitData {
protected:
    RootAsHomePath() {
        machine.setEnvironment(L"HOMEPATH", L"\\");
        machine.setEnvironment(L"HOMEDRIVE", L"D:");
        machine.makeDirectory(L"D:\\");
    }
};

TEST_F(RootAsHomePath, FileIsInTheRootOfTheCurrentDrive) {
    EXPECT_FALSE(doesExist());
    machine.writeFile(L"C:\\.exitData", "");
    EXPECT_TRUE(doesExist());
    machine.unsetEnvironment(L"HOMEDRIVE");
    EXPECT_TRUE(doesExist());
}

TEST_F(RootAsHomePath, FileIsOtherwiseInTheRootOfTheHomeDrive) {
    machine.writeFile(L"D:\\.exitData", "LOGOFF");
    EXPECT_TRUE(doesExist());
    machine.writeFile(L"C:\\.exitData", "SHUTDOWN");
    run([] {
        zellauncher::settleExitDataPath();
        EXPECT_TRUE(zellauncher::exitDataExists());
        EXPECT_TRUE(zellauncher::isExitData(L"SHUTDOWN"));
    });
    machine.remove(L"C:\\.exitData");
    run([] {
        zellauncher::settleExitDataPath();
        EXPECT_TRUE(zellauncher::exitDataExists());
        EXPECT_TRUE(zellauncher::isExitData(L"LOGOFF"));
        zellauncher::removeExitData();
        EXPECT_FALSE(zellauncher::exitDataExists());
    });
    EXPECT_EQ(machine.readFile(L"D:\\.exitData"), "LOGOFF");
}

TEST_F(RootAsHomePath, OtherHomePathsAreNotLookedForOnTheHomeDrive) {
    machine.setEnvironment(L"HOMEPATH", L"\\Users\\ann");
    machine.writeFile(L"D:\\Users\\ann\\.exitData", "");
    machine.writeFile(L"D:\\.exitData", "");
    EXPECT_FALSE(doesExist());
}

// The path grows at each call.
TEST_F(ExitData, OnlyTheFirstCallOfAProcessFindsTheFile) {
    machine.writeFile(exitData, "LOGOFF");
    run([] {
        zellauncher::settleExitDataPath();
        EXPECT_TRUE(zellauncher::exitDataExists());
        EXPECT_FALSE(zellauncher::exitDataExists());
    });
    run([] {
        zellauncher::settleExitDataPath();
        EXPECT_TRUE(zellauncher::exitDataExists());
        zellauncher::removeExitData();
    });
    EXPECT_EQ(machine.readFile(exitData), "LOGOFF");
}

TEST_F(ExitData, RemovalAsTheFirstCallDeletesTheFile) {
    machine.writeFile(exitData, "LOGOFF");
    run([] {
        zellauncher::settleExitDataPath();
        zellauncher::removeExitData();
    });
    EXPECT_FALSE(machine.exists(exitData));
}

TEST_F(ExitData, RemovalOfAMissingFileDoesNothing) {
    run([] {
        zellauncher::settleExitDataPath();
        zellauncher::removeExitData();
    });
    EXPECT_FALSE(machine.exists(exitData));
}

TEST_F(ExitData, WordIsTheFirstLineInAnyCase) {
    for (const char* content : {"LOGOFF", "logoff", "LogOff\r\nSHUTDOWN\r\n", "LOGOFF\n"}) {
        EXPECT_TRUE(isWord(content, L"LOGOFF")) << content;
        EXPECT_FALSE(isWord(content, L"SHUTDOWN")) << content;
    }
}

// The file is opened for update, although only read.
TEST_F(ExitData, FinalCtrlZIsRemovedFromTheFile) {
    EXPECT_TRUE(isWord("LOGOFF\x1A", L"LOGOFF"));
    EXPECT_EQ(machine.readFile(exitData), "LOGOFF");
}

TEST_F(ExitData, OtherFirstLineIsNotTheWord) {
    for (const char* content : {"", "LOGOFF ", " LOGOFF", "LOGOF", "LOGOFFS", "\r\nLOGOFF\r\n"}) {
        EXPECT_FALSE(isWord(content, L"LOGOFF")) << content;
    }
}

TEST_F(ExitData, ReadOnlyFileHasNoWord) {
    machine.writeFile(exitData, "LOGOFF");
    machine.setAttributes(exitData, platform::attributeReadOnly);
    run([] {
        zellauncher::settleExitDataPath();
        EXPECT_TRUE(zellauncher::exitDataExists());
        EXPECT_FALSE(zellauncher::isExitData(L"LOGOFF"));
    });
}

}  // namespace
