#include "foundation/memory.h"

#include <limits>

#include "platform/files.h"
#include "support/failing_allocation.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::FailingAllocation;

constexpr std::size_t manyCharacters = 50000;

class Memory : public launchertest::OnMachine {};

TEST_F(Memory, ANewStringIsEmptyAndHasRoom) {
    run([] {
        const std::wstring text = zellauncher::newString(manyCharacters);
        EXPECT_EQ(text, L"");
        EXPECT_GE(text.capacity(), manyCharacters);
        EXPECT_EQ(zellauncher::newString(0), L"");
    });
}

TEST_F(Memory, ANewStringWithoutTheMemoryEndsTheStartWithTheSystemsReason) {
    simulation::Fault fault;
    fault.operation = "fileAttributes";
    fault.error = platform::errorDiskFull;
    machine.inject(fault);
    const auto outcome = run([] {
        platform::fileAttributes(L"C:\\Temp");
        const FailingAllocation failing(manyCharacters);
        zellauncher::newString(manyCharacters);
        ADD_FAILURE() << "went on without the memory";
    });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.log,
              "ZLNCH0004E: newString malloc failed.  Failed with error 112: There is not enough space on "
              "the disk.\r\n\n");
}

TEST_F(Memory, ALengthThatNoStringCanHaveIsNoMemoryEither) {
    const auto outcome = run([] { zellauncher::newString(std::numeric_limits<std::size_t>::max()); });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_TRUE(outcome.log.starts_with("ZLNCH0004E: newString malloc failed.  Failed with error "));
}

TEST_F(Memory, MakingRoomKeepsTheText) {
    const auto outcome = run([] {
        std::wstring text = L"kept";
        zellauncher::reserveOrFail(text, manyCharacters, "no memory");
        EXPECT_EQ(text, L"kept");
        EXPECT_GE(text.capacity(), manyCharacters);
    });
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Memory, WithoutRoomTheStartEndsWithTheMessageOfTheCaller) {
    for (const bool isLengthError : {false, true}) {
        const auto outcome = run([&] {
            std::wstring text;
            const FailingAllocation failing(manyCharacters);
            zellauncher::reserveOrFail(
                text, isLengthError ? std::numeric_limits<std::size_t>::max() : manyCharacters, "no memory");
            ADD_FAILURE() << "went on without the memory";
        });
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, "no memory\n");
    }
}

}  // namespace
