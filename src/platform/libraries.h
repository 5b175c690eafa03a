#pragma once

#include <cstdint>
#include <string>

// Functions of the system that only newer versions have, looked up at run time.
namespace platform {

enum class Library : std::uintptr_t { none = 0 };
enum class TextFunction : std::uintptr_t { none = 0 };

// Loads a system library by its file name, from the system directory only (LoadLibraryExW).
Library loadLibrary(const std::wstring& name);

// The address of an exported function that takes one wide text and returns a number (GetProcAddress).
TextFunction textFunction(Library library, const std::string& name);

// Calls the function with the text and ignores its result.
void callTextFunction(TextFunction function, const std::wstring& text);

void freeLibrary(Library library);

}  // namespace platform
