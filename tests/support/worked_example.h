#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"
#include "simulation/machine.h"

// A realistic start of an install of kind `user` with a property of each sort, and the command that it
// must give. Tests start from it and change what they are about.
namespace launchertest {

inline constexpr const wchar_t* exampleHome = L"C:\\Apps\\Client";
inline constexpr const wchar_t* exampleWorkspace = L"C:/Users/ann/Mivel/ZEL/1234/ann";

zellauncher::PropertyList exampleInstallProperties();   // zelInstallArray, with java.home
zellauncher::PropertyList exampleLauncherProperties();  // zelLauncherArray
zellauncher::VmargOverrides exampleOverrides();

// Creates the files that such a start looks for, the workspace's log directory included, and gives the
// user a home with forward slashes, as in the example's paths.
void layOutExample(simulation::Machine& machine);

// The elements of a main process's command line, quotes included.
std::vector<std::wstring> exampleElements();

// The elements as a command line, separated by blanks.
std::wstring asCommandLine(const std::vector<std::wstring>& elements);

// The elements without quotes, separated by `separator`.
std::wstring withoutQuotes(const std::vector<std::wstring>& elements, wchar_t separator);

// What a daemon sends instead of that command line: no quotes, line feeds, and before `-startup` the pair
// with the process id of the running platform.
std::wstring asHandOff(const std::vector<std::wstring>& elements, std::int32_t ownerPid);

}  // namespace launchertest
