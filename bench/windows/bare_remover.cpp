// bench_bare_remover <directory>: removes the directory and everything in it with the fewest system calls,
// and prints the nanoseconds.
#include <windows.h>

#include <cstdio>
#include <string>

#include "stopwatch.h"

namespace {

bool isDots(const wchar_t* name) {
    return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

bool removeTree(const std::wstring& directory) {
    WIN32_FIND_DATAW entry;
    HANDLE search = FindFirstFileW((directory + L"\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return false;
    }
    do {
        const std::wstring path = directory + L"\\" + entry.cFileName;
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            DeleteFileW(path.c_str());
        } else if (!isDots(entry.cFileName)) {
            removeTree(path);
        }
    } while (FindNextFileW(search, &entry) != 0);
    FindClose(search);
    return RemoveDirectoryW(directory.c_str()) != 0;
}

}  // namespace

int wmain(int count, wchar_t* arguments[]) {
    if (count != 2) {
        return 1;
    }
    const bench::Stopwatch stopwatch;
    const bool isGone = removeTree(arguments[1]);
    std::printf("%.0f\n", stopwatch.nanoseconds());
    return isGone ? 0 : 1;
}
