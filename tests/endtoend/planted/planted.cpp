// A library that leaves a mark when it is loaded: a file beside it with its own name and that of the
// program. It uses no runtime library, so that it can take the place of any system library.

#include <windows.h>

namespace {

constexpr DWORD longestPath = 32767;
wchar_t mark[longestPath + 32];
wchar_t program[longestPath];

const wchar_t* nameIn(const wchar_t* path) {
    const wchar_t* name = path;
    for (const wchar_t* unit = path; *unit != L'\0'; ++unit) {
        name = *unit == L'\\' ? unit + 1 : name;
    }
    return name;
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, LPVOID /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) {
        GetModuleFileNameW(self, mark, longestPath);
        GetModuleFileNameW(nullptr, program, longestPath);
        lstrcatW(mark, L".loaded-by-");
        lstrcatW(mark, nameIn(program));
        CloseHandle(
            CreateFileW(mark, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    return TRUE;
}
