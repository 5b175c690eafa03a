#pragma once

#include <string>

#include "platform/process_wide.h"
#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

namespace zellauncher {

// Path of the marker file with which an engineer debugs provisioning, and whether it exists.
extern PROCESS_WIDE std::wstring provDebugFile;
extern PROCESS_WIDE bool provDebugHold;

// Expands a command line into the effective arguments, with which the rest of the start works: moves
// the `vmarg.` arguments into `overrides`, replaces `-config <name>` by the values `config.<name>.<n>`
// of the list, adds the options of the debug marker file, and may replace the value of `zel.data` in
// the list. Sets provDebugFile and provDebugHold if there is no `-config <name>`. Fatal: ZLNCH0033E,
// ZLNCH0128E.
Arguments expandConfiguredArguments(const Arguments& arguments, PropertyList& zelLauncherArray,
                                    VmargOverrides& overrides, const std::wstring& zelHome);

}  // namespace zellauncher
