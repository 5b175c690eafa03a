#include "simulation/thread_end.h"

#ifdef _WIN32
extern "C" {
__declspec(dllimport) void* __stdcall GetCurrentThread();
__declspec(dllimport) int __stdcall TerminateThread(void* thread, unsigned long status);
}
#endif

namespace simulation {

void endThread() {
#ifdef _WIN32
    TerminateThread(GetCurrentThread(), 0);
#endif
}

}  // namespace simulation
