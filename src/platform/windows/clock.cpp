#include "platform/clock.h"

#include "platform/windows/windows_api.h"

namespace platform {

LocalTime localTime() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    LocalTime time;
    time.year = now.wYear;
    time.month = now.wMonth;
    time.day = now.wDay;
    time.dayOfWeek = now.wDayOfWeek;
    time.hour = now.wHour;
    time.minute = now.wMinute;
    time.second = now.wSecond;
    time.milliseconds = now.wMilliseconds;
    return time;
}

std::uint32_t tickCount() {
    return GetTickCount();
}

void sleepMilliseconds(std::uint32_t milliseconds) {
    Sleep(milliseconds);
}

}  // namespace platform
