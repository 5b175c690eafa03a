#include "foundation/memory.h"

#include <limits>

#include "platform/files.h"
#include "support/failing_allocation.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::FailingAllocation;

constexpr std::size_t manyCharacters = 50000;
constexpr std::size_t beyondMaximum = std::numeric_limits<std::size_t>::max();

class Memory : public launchertest::OnMachine {};

TEST_F(Memory, NewStringIsEmptyWithRoom) {
    run([] {
        const std::wstring text = zellauncher::newString(manyCharacters);
        EXPECT_EQ(text, L"");
        EXPECT_GE(text.capacity(), manyCharacters);
        EXPECT_EQ(zellauncher::newString(0), L"");
    });
}

TEST_F(Memory, NewStringWithoutMemoryIsFatal) {
    machine.inject(launchertest::failing("fileAttributes", platform::errorDiskFull));
    const auto outcome = run([] {
        platform::fileAttributes(L"C:\\Temp");
        const FailingAllocation failing(manyCharacters);
        zellauncher::newString(manyCharacters);
        ADD_FAILURE() << "continued without the memory";
    });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.log,
              "ZLNCH0004E: newString malloc failed.  Failed with error 112: There is not enough space on "
              "the disk.\r\n\n");
}

TEST_F(Memory, NewStringBeyondTheMaximumLengthIsFatal) {
    const auto outcome = run([] { zellauncher::newString(beyondMaximum); });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_TRUE(outcome.log.starts_with("ZLNCH0004E: newString malloc failed.  Failed with error "));
}

TEST_F(Memory, ReserveKeepsTheText) {
    const auto outcome = run([] {
        std::wstring text = L"kept";
        zellauncher::reserveOrFail(text, manyCharacters, "no memory");
        EXPECT_EQ(text, L"kept");
        EXPECT_GE(text.capacity(), manyCharacters);
    });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Memory, FailedReserveLogsTheGivenMessage) {
    for (const std::size_t length : {manyCharacters, beyondMaximum}) {
        SCOPED_TRACE(length);
        const auto outcome = run([&] {
            std::wstring text;
            const FailingAllocation failing(manyCharacters);
            zellauncher::reserveOrFail(text, length, "no memory");
            ADD_FAILURE() << "continued without the memory";
        });
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, "no memory\n");
    }
}

}  // namespace
