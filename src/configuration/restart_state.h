#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"

// What a later restart needs to know of this start: args.properties in the configuration directory.
namespace zellauncher {

// The program that a restart runs, from `config.<name>.restartExe.win32` for a `-config <name>` on
// the raw command line, with backslashes; empty if there is none.
std::wstring resolveRestartProgram(const Arguments& arguments, const PropertyList& zelLauncherArray,
                                   const std::wstring& zelHome);

// Writes args.properties from the raw command line. `restartProgram` may be empty. Every failure is
// fatal: ZLNCH0097E, ZLNCH0020E, ZLNCH0116E, ZLNCH0117E, ZLNCH0047E.
void writeRestartState(const Arguments& arguments, const std::wstring& configDirectory,
                       const std::wstring& restartProgram, const PropertyList& zelLauncherArray,
                       const std::wstring& zelHome);

struct Assignment {
    std::wstring key;
    std::wstring value;
    std::wstring text;  // `key=value`
};

// Splits `key=value` at its first `=`. A value of more than 1000 characters becomes empty.
Assignment splitAssignment(const std::wstring& text);

}  // namespace zellauncher
