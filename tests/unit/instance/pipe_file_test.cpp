#include "instance/pipe_file.h"

#include <optional>

#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::pipeFile;
using instancetest::Workspace;

class PipeFile : public Workspace {
protected:
    std::optional<std::wstring> readName(const std::string& content) {
        std::optional<std::wstring> name;
        machine.writeFile(pipeFile, content);
        outcome = run([&] {
            usePaths();
            name = zellauncher::readPipeName();
        });
        return name;
    }
    // How long waitForPipeFile waits, in milliseconds.
    std::uint64_t wait() {
        const std::uint64_t begin = machine.elapsedMilliseconds();
        run([] {
            usePaths();
            zellauncher::waitForPipeFile();
        });
        return machine.elapsedMilliseconds() - begin;
    }
};

TEST_F(PipeFile, NameIsTheFirstLineThatIsNotBlank) {
    EXPECT_EQ(readName("\\\\.\\pipe\\a b\r\nsecond"), L"\\\\.\\pipe\\a b");
    EXPECT_EQ(readName("\r\n \r\n  name\r\n"), L"name");
    EXPECT_EQ(readName(std::string(3000, 'x')), std::wstring(2024, L'x'));
    EXPECT_EQ(readName("n\xE9"), L"n\u00E9");
    EXPECT_EQ(readName(""), std::nullopt);
    EXPECT_EQ(readName("\r\n"), std::nullopt);
}

TEST_F(PipeFile, NameIsReadOncePerProcess) {
    machine.writeFile(pipeFile, "first");
    run([&] {
        usePaths();
        EXPECT_EQ(zellauncher::readPipeName(), L"first");
        machine.remove(pipeFile);
        EXPECT_EQ(zellauncher::readPipeName(), L"first");
        EXPECT_EQ(zellauncher::pipeName, L"first");
    });
}

TEST_F(PipeFile, EmptyFileIsReadAgain) {
    machine.writeFile(pipeFile, "");
    run([&] {
        usePaths();
        EXPECT_EQ(zellauncher::readPipeName(), std::nullopt);
        EXPECT_EQ(zellauncher::pipeName, L"");
        machine.writeFile(pipeFile, "later");
        EXPECT_EQ(zellauncher::readPipeName(), L"later");
    });
}

TEST_F(PipeFile, MissingFileHasNoName) {
    run([] {
        usePaths();
        EXPECT_EQ(zellauncher::readPipeName(), std::nullopt);
    });
}

TEST_F(PipeFile, ExistingFileIsNotWaitedFor) {
    machine.writeFile(pipeFile, "");
    EXPECT_EQ(wait(), 0U);
}

TEST_F(PipeFile, MissingFileIsWaitedForAtMostFifteenSeconds) {
    EXPECT_EQ(wait(), 15000U);
    machine.start({L"C:\\eclipse.exe"}, [] {
        platform::sleepMilliseconds(4500);
        platform::closeStream(platform::openStream(pipeFile, "w"));
        return 0;
    });
    EXPECT_EQ(wait(), 5000U);
}

TEST_F(PipeFile, LongPathPrefixIsSkippedWhileWaiting) {
    const std::wstring prefixed = std::wstring(L"\\\\?\\") + pipeFile;
    machine.writeFile(pipeFile, "x");
    runQuietly([&] {
        zellauncher::endpointFilePath = prefixed;
        zellauncher::waitForPipeFile();
    });
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
    for (const simulation::Operation& operation : machine.operations()) {
        EXPECT_NE(operation.argument, prefixed);
    }
}

// A launcher that waits for a restart reads the file without the lock.
TEST_F(PipeFile, StaleFileIsDeletedOnceItsReaderCloses) {
    leaveDeadPlatform();
    machine.start({L"C:\\reader.exe"}, [] {
        platform::Stream* stream = platform::openStream(pipeFile, "r");
        platform::sleepMilliseconds(250);
        platform::closeStream(stream);
        return 0;
    });
    machine.runUntilIdle(1);
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(isStale);
    EXPECT_FALSE(machine.exists(pipeFile));
    EXPECT_EQ(machine.elapsedMilliseconds(), 301U);
}

// A start that was stopped in the middle of a deletion leaves the renamed file.
TEST_F(PipeFile, LeftoverOfAStoppedDeletionDoesNotBlock) {
    leaveDeadPlatform();
    machine.writeFile(pipeFile + std::wstring(L".deleteme"), "\\\\.\\pipe\\older\r\n");
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(isStale);
    EXPECT_FALSE(machine.exists(pipeFile));
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(PipeFile, UndeletableStaleFileDelaysAStartOneSecond) {
    leaveDeadPlatform();
    machine.holdOpen(pipeFile);
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(machine.exists(pipeFile));
    EXPECT_EQ(machine.elapsedMilliseconds(), 1000U);
}

}  // namespace
