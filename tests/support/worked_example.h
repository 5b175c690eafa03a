#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"
#include "simulation/machine.h"

// One start of an install of kind `user` with a property of each sort, and the command that must come
// out of it. Tests that need a realistic install begin with it and change what they are about.
namespace launchertest {

inline constexpr const wchar_t* exampleHome = L"C:\\Apps\\Client";
inline constexpr const wchar_t* exampleWorkspace = L"C:/Users/ann/Mivel/ZEL/1234/ann";

zellauncher::PropertyList exampleInstallProperties();   // zelInstallArray, with java.home settled
zellauncher::PropertyList exampleLauncherProperties();  // zelLauncherArray
zellauncher::VmargOverrides exampleOverrides();

// Puts the files on the disk that such a start looks for, the workspace's log directory included, and
// gives the user a home with forward slashes, as the paths of the example have them.
void layOutExample(simulation::Machine& machine);

// The elements as they stand in the command line of a main process, quotes included.
std::vector<std::wstring> exampleElements();

// Elements as a command line: one blank between two.
std::wstring asCommandLine(const std::vector<std::wstring>& elements);

// The same without any quotes and with a separator of the caller's.
std::wstring withoutQuotes(const std::vector<std::wstring>& elements, wchar_t separator);

// What a daemon hands over in place of that command line: no quotes, line feeds, and the pair with the
// number of the running platform in front of `-startup`.
std::wstring asHandOff(const std::vector<std::wstring>& elements, std::int32_t ownerPid);

}  // namespace launchertest
