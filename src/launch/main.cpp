#include "launch/entry.h"

// The runtime's arguments are ignored: the launcher reads its command line itself.
extern "C" int wmain(int /*count*/, wchar_t** /*words*/) {
    return zellauncher::wmain();
}
