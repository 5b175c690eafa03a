// bench_child: the program that bench_start_time waits for. Sets an event and ends.
#include <windows.h>

int wmain() {
    HANDLE event = OpenEventW(EVENT_MODIFY_STATE, FALSE, L"zellauncher-bench-child");
    return event != nullptr && SetEvent(event) != 0 ? 0 : 1;
}
