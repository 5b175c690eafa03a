#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/streams.h"
#include "simulation/machine.h"

// What a power loss leaves of names and contents that are not on the device.
namespace {

using simulation::Machine;
using simulation::PowerLoss;
using Paths = std::vector<std::wstring>;

constexpr const wchar_t* program = L"C:\\program.exe";
constexpr PowerLoss oldNames = {PowerLoss::Names::old, PowerLoss::Contents::old};
constexpr PowerLoss zeroFilled = {PowerLoss::Names::kept, PowerLoss::Contents::zeroFilled};

class Device : public ::testing::Test {
protected:
    Machine machine;

    void run(const std::function<void()>& body) {
        machine.run({program}, [&] {
            body();
            return 0;
        });
    }
    static void write(const std::wstring& path, const char* mode, const std::string& text) {
        platform::Stream* stream = platform::openStream(path, mode);
        ASSERT_NE(stream, nullptr);
        platform::writeStream(stream, text);
        platform::closeStream(stream);
    }
    // The content of C:\f, which was "old", after this change and the power loss.
    std::string contentAfter(const std::function<void()>& change, const PowerLoss& loss) {
        machine.writeFile(L"C:\\f", "old");
        run(change);
        machine.losePower(loss);
        return machine.readFile(L"C:\\f").value_or("(absent)");
    }
};

TEST_F(Device, OldNamesComeBack) {
    machine.writeFile(L"C:\\a\\moved", "");
    machine.writeFile(L"C:\\a\\deleted", "text");
    machine.makeDirectory(L"C:\\a\\removed");
    const Paths before = machine.tree(L"C:\\");
    run([] {
        platform::createDirectory(L"C:\\made");
        write(L"C:\\made\\file", "w", "");
        platform::copyFile(L"C:\\a\\deleted", L"C:\\copy", platform::ExistingTarget::isFailure);
        platform::moveFile(L"C:\\a\\moved", L"C:\\a\\Other", 0);
        platform::moveFile(L"C:\\a\\Other", L"C:\\made\\other", 0);
        platform::deleteFile(L"C:\\a\\deleted");
        platform::removeDirectory(L"C:\\a\\removed");
        platform::moveFile(L"C:\\a", L"C:\\b", 0);
    });
    EXPECT_NE(machine.tree(L"C:\\"), before);
    machine.losePower(oldNames);
    EXPECT_EQ(machine.tree(L"C:\\"), before);
    EXPECT_EQ(machine.readFile(L"C:\\a\\deleted"), "text");
}

TEST_F(Device, NamesAreKeptByAJournal) {
    machine.writeFile(L"C:\\moved", "");
    run([] {
        platform::createDirectory(L"C:\\made");
        platform::moveFile(L"C:\\moved", L"C:\\made\\other", 0);
    });
    machine.losePower();
    EXPECT_EQ(machine.tree(L"C:\\"), (Paths{L"C:\\made\\", L"C:\\made\\other"}));
    machine.losePower(oldNames);  // they are on the device now
    EXPECT_EQ(machine.tree(L"C:\\"), (Paths{L"C:\\made\\", L"C:\\made\\other"}));
}

TEST_F(Device, FlushForcesTheNamesOfAFileAndItsDirectories) {
    run([] {
        platform::createDirectory(L"C:\\a");
        platform::createDirectory(L"C:\\a\\b");
        write(L"C:\\a\\b\\file", "w", "text");
        write(L"C:\\a\\b\\other", "w", "text");
        platform::flushFile(L"C:\\a\\b\\file");
    });
    machine.losePower(oldNames);
    EXPECT_EQ(machine.tree(L"C:\\"), (Paths{L"C:\\a\\", L"C:\\a\\b\\", L"C:\\a\\b\\file"}));
    EXPECT_EQ(machine.readFile(L"C:\\a\\b\\file"), "text");
}

TEST_F(Device, WriteThroughForcesBothNamesOfAMove) {
    machine.writeFile(L"C:\\file", "text");
    run([] {
        platform::createDirectory(L"C:\\a");
        platform::moveFile(L"C:\\file", L"C:\\a\\moved", platform::moveWriteThrough);
    });
    machine.losePower(oldNames);
    EXPECT_EQ(machine.tree(L"C:\\"), (Paths{L"C:\\a\\", L"C:\\a\\moved"}));
}

TEST_F(Device, FlushOfAMovedFileForcesTheWholeMove) {
    machine.writeFile(L"C:\\file", "text");
    run([] {
        platform::createDirectory(L"C:\\a");
        platform::moveFile(L"C:\\file", L"C:\\a\\moved", 0);
        platform::flushFile(L"C:\\a\\moved");
    });
    machine.losePower(oldNames);
    EXPECT_EQ(machine.tree(L"C:\\"), (Paths{L"C:\\a\\", L"C:\\a\\moved"}));
}

TEST_F(Device, WriteThroughMayBeIgnored) {
    machine.ignoreWriteThrough();
    machine.writeFile(L"C:\\file", "text");
    run([] { platform::moveFile(L"C:\\file", L"C:\\moved", platform::moveWriteThrough); });
    machine.losePower(oldNames);
    EXPECT_EQ(machine.tree(L"C:\\"), Paths{L"C:\\file"});
}

// Otherwise the directory that had the name would be nowhere on the device.
TEST_F(Device, ForcedNameTakesTheMoveOfItsFormerOwnerAlong) {
    machine.writeFile(L"C:\\a\\old", "text");
    run([] {
        platform::moveFile(L"C:\\a", L"C:\\b", 0);
        platform::createDirectory(L"C:\\a");
        write(L"C:\\a\\new", "w", "text");
        platform::flushFile(L"C:\\a\\new");
    });
    machine.losePower(oldNames);
    EXPECT_EQ(machine.tree(L"C:\\"), (Paths{L"C:\\a\\", L"C:\\a\\new", L"C:\\b\\", L"C:\\b\\old"}));
}

TEST_F(Device, ForcedNameForgetsADeletedOwner) {
    machine.writeFile(L"C:\\file", "old");
    run([] {
        platform::deleteFile(L"C:\\file");
        write(L"C:\\file", "w", "new");
        platform::moveFile(L"C:\\file", L"C:\\moved", platform::moveWriteThrough);
    });
    machine.losePower(oldNames);
    EXPECT_EQ(machine.tree(L"C:\\"), Paths{L"C:\\moved"});
}

TEST_F(Device, MoveDoesNotFlushTheContent) {
    run([] {
        write(L"C:\\new", "w", "text");
        platform::moveFile(L"C:\\new", L"C:\\file", platform::moveWriteThrough);
    });
    machine.losePower(oldNames);
    EXPECT_EQ(machine.readFile(L"C:\\file"), "");
}

TEST_F(Device, FilesOfTheTestAreOnTheDevice) {
    run([] { platform::createDirectory(L"C:\\made"); });
    machine.writeFile(L"C:\\a\\file", "text");
    machine.writeFile(L"C:\\gone", "");
    machine.remove(L"C:\\gone");
    machine.losePower(oldNames);
    EXPECT_EQ(machine.tree(L"C:\\"), (Paths{L"C:\\a\\", L"C:\\a\\file"}));
}

TEST_F(Device, OnlyWhatIsNotFlushedIsZeroFilled) {
    const std::string zeros(3, '\0');
    EXPECT_EQ(contentAfter([] { write(L"C:\\f", "w", "new"); }, zeroFilled), zeros);
    EXPECT_EQ(contentAfter([] { write(L"C:\\f", "a+", "new"); }, zeroFilled), "old" + zeros);
    EXPECT_EQ(contentAfter([] { write(L"C:\\f", "r+", "new"); }, zeroFilled), "old");
    EXPECT_EQ(contentAfter(
                  [] {
                      write(L"C:\\f", "a+", "er");
                      platform::flushFile(L"C:\\f");
                  },
                  zeroFilled),
              "older");
}

TEST_F(Device, TruncatedBytesNeverComeBack) {
    const auto change = [] {
        platform::Stream* stream = platform::openStream(L"C:\\f", "r+");
        platform::truncateStream(stream, 1);
        platform::closeStream(stream);
        write(L"C:\\f", "a+", "new");
    };
    EXPECT_EQ(contentAfter(change, zeroFilled), std::string("o\0\0\0", 4));
}

TEST_F(Device, ReplacedFileIsZeroFilledToItsNewSize) {
    machine.writeFile(L"C:\\source", "longer");
    const auto copy = [] {
        platform::copyFile(L"C:\\source", L"C:\\f", platform::ExistingTarget::isReplaced);
    };
    EXPECT_EQ(contentAfter(copy, zeroFilled), std::string(6, '\0'));
    EXPECT_EQ(contentAfter(copy, {}), "old");
}

TEST_F(Device, FlushOfTheDisksForcesEverything) {
    machine.writeFile(L"C:\\a\\f", "old");
    run([] {
        write(L"C:\\a\\f", "w", "new");
        platform::moveFile(L"C:\\a\\f", L"C:\\g", 0);
    });
    machine.flushDisks();
    machine.losePower(oldNames);
    EXPECT_EQ(machine.tree(L"C:\\"), (Paths{L"C:\\a\\", L"C:\\g"}));
    EXPECT_EQ(machine.readFile(L"C:\\g"), "new");
}

TEST_F(Device, PowerLossStopsEveryProcess) {
    machine.writeFile(L"C:\\f", "old");
    const simulation::ProcessId id = machine.start({program}, [] {
        platform::Stream* stream = platform::openStream(L"C:\\f", "w");
        platform::writeStream(stream, "buffered");
        platform::sleepMilliseconds(1000);
        return 0;
    });
    machine.runUntilIdle(10);
    machine.losePower();
    EXPECT_FALSE(machine.isRunning(id));
    EXPECT_EQ(machine.endOf(id).kind, simulation::EndKind::stoppedDead);
    EXPECT_EQ(machine.readFile(L"C:\\f"), "old");
}

}  // namespace
