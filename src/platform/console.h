#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// The console window that this process may have, found by its title.
namespace platform {

enum class Window : std::uintptr_t { none = 0 };

// The title of this process's console, at most `capacity` - 1 characters; empty without a console.
std::wstring consoleTitle(std::size_t capacity);

// Sets the title. Does nothing without a console.
void setConsoleTitle(const std::wstring& title);

// The top-level window with this title (FindWindowW without a class).
Window findWindow(const std::wstring& title);

// Hides the window (ShowWindow with SW_HIDE); `none` is ignored.
void hideWindow(Window window);

}  // namespace platform
