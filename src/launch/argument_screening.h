#pragma once

#include "properties/arguments.h"

// Checks of the arguments, which may come from a link through a URL handler. A failed check is fatal. The
// first three check the raw command line.
namespace zellauncher {

// With `-maxargcnt <n>`, the command line must have exactly n arguments, argument 0 included and a
// `-restart` not counted. Fatal ZLNCH0069E.
void checkUrlHandlerArgs(const Arguments& arguments);

// No argument, argument 0 included, may contain a double quote, because the command puts arguments in
// double quotes. Fatal ZLNCH0089E.
void checkDoubleQuotes(const Arguments& arguments);

// No argument, argument 0 included, may contain the name of the JVM's library path or home. Fatal:
// ZLNCH0190E, ZLNCH0191E, ZLNCH0192E.
void checkForbiddenArgs(const Arguments& arguments);

// `-provManifest` while a platform is running is the fatal ZLNCH0122E. Call it after the lock is taken,
// because it reads isMainProcess and lockOwnerPid.
void checkProvManifest(const Arguments& effectiveArgs);

// True if `-restart` is among the arguments after the program.
bool hasRestartFlag(const Arguments& arguments);

}  // namespace zellauncher
