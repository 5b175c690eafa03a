#pragma once

#include <cstdint>

// Time of day, time since system start, and waiting.
namespace platform {

struct LocalTime {
    int year = 1601;       // four digits
    int month = 1;         // 1 to 12
    int day = 1;           // 1 to 31
    int dayOfWeek = 1;     // 0 is Sunday
    int hour = 0;          // 0 to 23
    int minute = 0;        // 0 to 59
    int second = 0;        // 0 to 59
    int milliseconds = 0;  // 0 to 999
};

// The time of day in the user's time zone (GetLocalTime).
LocalTime localTime();

// Milliseconds since system start, modulo 2^32 (GetTickCount).
std::uint32_t tickCount();

// Suspends this process for at least `milliseconds` (Sleep).
void sleepMilliseconds(std::uint32_t milliseconds);

}  // namespace platform
