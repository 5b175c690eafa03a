#include "platform/clock.h"

#include "simulation/machine_state.h"

namespace simulation {

namespace {

constexpr int minutesOfDay = 24 * 60;

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysOfMonth(int year, int month) {
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : days[month - 1];
}

}  // namespace

// The clock begins on Saturday, 2026-01-31, at 23:59:00.000.
platform::LocalTime timeOf(const MachineState& machine) {
    const std::uint64_t elapsed = machine.elapsed;
    platform::LocalTime time;
    time.year = 2026;
    time.month = 1;
    time.day = 31;
    time.dayOfWeek = 6;
    time.milliseconds = static_cast<int>(elapsed % 1000);
    const std::uint64_t seconds = elapsed / 1000;
    time.second = static_cast<int>(seconds % 60);
    const std::uint64_t minutes = seconds / 60 + minutesOfDay - 1;
    time.minute = static_cast<int>(minutes % 60);
    time.hour = static_cast<int>(minutes / 60 % 24);
    for (std::uint64_t days = minutes / minutesOfDay + machine.daysPassed; days > 0; --days) {
        time.dayOfWeek = (time.dayOfWeek + 1) % 7;
        if (++time.day > daysOfMonth(time.year, time.month)) {
            time.day = 1;
            time.month = time.month % 12 + 1;
            time.year += time.month == 1 ? 1 : 0;
        }
    }
    return time;
}

}  // namespace simulation

namespace platform {

using simulation::beginOperation;
using simulation::machineOfSelf;
using simulation::self;

LocalTime localTime() {
    beginOperation("localTime");
    return simulation::timeOf(machineOfSelf());
}

std::uint32_t tickCount() {
    beginOperation("tickCount");
    return machineOfSelf().tickStart + static_cast<std::uint32_t>(machineOfSelf().elapsed);
}

void sleepMilliseconds(std::uint32_t milliseconds) {
    beginOperation("sleepMilliseconds", std::wstring(), false, {milliseconds});
    machineOfSelf().sleep(self(), milliseconds);
}

}  // namespace platform
