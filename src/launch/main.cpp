#include "launch/entry.h"

// Ignores the runtime's arguments, because the launcher splits its command line itself.
extern "C" int wmain(int /*count*/, wchar_t** /*arguments*/) {
    return zellauncher::wmain();
}
