#pragma once

#include <cstdint>
#include <string>

// The system's version, and functions that only newer systems have.
namespace platform {

// Major and minor version (GetVersionExW); false on failure.
bool systemVersion(std::uint32_t& major, std::uint32_t& minor);

enum class Library : std::uintptr_t { none = 0 };
enum class TextFunction : std::uintptr_t { none = 0 };

// Loads a library of the system by its file name, from the system's own directory and from nowhere else
// (LoadLibraryExW); `none` when there is none.
Library loadLibrary(const std::wstring& name);

// The address of an exported function that takes one wide text and returns a number; `none` when
// the library does not export it.
TextFunction textFunction(Library library, const std::string& name);

// Calls the function with the text; its result is not looked at.
void callTextFunction(TextFunction function, const std::wstring& text);

void freeLibrary(Library library);

}  // namespace platform
