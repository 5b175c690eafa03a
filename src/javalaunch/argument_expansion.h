#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

namespace zellauncher {

// Turns a command line into the effective arguments that the whole start works with: takes the
// `vmarg.` words out into `overrides`, replaces `-config <name>` by the values `config.<name>.<n>`
// of the list, honours the debug marker file (provDebugFile, provDebugHold), and may replace the
// value of `zel.data` in the list. Fatal: ZLNCH0033E, ZLNCH0128E.
void expandConfiguredArguments(Arguments& effectiveArgs, const Arguments& arguments,
                               PropertyList& zelLauncherArray, VmargOverrides& overrides,
                               const std::wstring& zelHome);

}  // namespace zellauncher
