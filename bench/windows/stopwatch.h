#pragma once

#include <windows.h>

namespace bench {

// Elapsed time since its creation.
class Stopwatch {
public:
    Stopwatch() { QueryPerformanceCounter(&begin); }

    double nanoseconds() const {
        LARGE_INTEGER now;
        LARGE_INTEGER frequency;
        QueryPerformanceCounter(&now);
        QueryPerformanceFrequency(&frequency);
        return static_cast<double>(now.QuadPart - begin.QuadPart) * 1e9 /
               static_cast<double>(frequency.QuadPart);
    }

private:
    LARGE_INTEGER begin = {};
};

}  // namespace bench
