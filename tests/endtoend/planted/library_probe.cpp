// Loads the libraries that its arguments name by the system's ordinary search, as the launcher must not.
// Its exit status is the number of those that were not found.

#include <windows.h>

extern "C" int wmain(int count, wchar_t** arguments) {
    int missing = 0;
    for (int i = 1; i < count; ++i) {
        missing += LoadLibraryW(arguments[i]) == nullptr ? 1 : 0;
    }
    return missing;
}
