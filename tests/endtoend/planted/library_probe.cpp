// A program that takes its libraries from wherever the system finds them first: what the launcher must
// not do.

#include <windows.h>

extern "C" int wmain(int count, wchar_t** words) {
    int missing = 0;
    for (int i = 1; i < count; ++i) {
        missing += LoadLibraryW(words[i]) == nullptr ? 1 : 0;
    }
    return missing;
}
