#include "platform/clock.h"

#include "contract/contract.h"

namespace contract {
namespace {

using namespace platform;

class Clock : public Contract {};

TEST_F(Clock, SleepAdvancesTheTickCount) {
    onMachine([&] {
        const std::uint32_t before = tickCount();
        sleepMilliseconds(50);
        // The tick count has a resolution of 16 milliseconds, and on a busy machine Wine counts late.
        for (int i = 0; i < 100 && tickCount() - before < 30U; ++i) {
            sleepMilliseconds(50);
        }
        EXPECT_GE(tickCount() - before, 30U);
        EXPECT_LT(tickCount() - before, 60000U);
    });
}

TEST_F(Clock, LocalTimeFieldsAreInRange) {
    onMachine([&] {
        const LocalTime now = localTime();
        EXPECT_GE(now.year, 2020);
        EXPECT_TRUE(now.month >= 1 && now.month <= 12 && now.day >= 1 && now.day <= 31);
        EXPECT_TRUE(now.hour < 24 && now.minute < 60 && now.second < 60 && now.milliseconds < 1000);
        EXPECT_TRUE(now.dayOfWeek >= 0 && now.dayOfWeek < 7);
    });
}

TEST_F(Clock, SleepAdvancesLocalTime) {
    onMachine([&] {
        const auto ordered = [](const LocalTime& time) {
            return ((((time.year * 13LL + time.month) * 32 + time.day) * 24 + time.hour) * 60 + time.minute) *
                       60000 +
                   time.second * 1000 + time.milliseconds;
        };
        const LocalTime before = localTime();
        sleepMilliseconds(20);
        EXPECT_GT(ordered(localTime()), ordered(before));
    });
}

TEST_F(Clock, SleepOfZeroTakesNoTime) {
    onMachine([&] {
        const std::uint32_t before = tickCount();
        for (int i = 0; i < 10; ++i) {
            sleepMilliseconds(0);
        }
        EXPECT_LT(tickCount() - before, 5000U);
    });
}

}  // namespace
}  // namespace contract
