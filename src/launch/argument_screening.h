#pragma once

#include "properties/arguments.h"

// The launcher can be started by a URL handler, so its arguments may come from outside. Each check
// returns when the arguments pass and is fatal otherwise, before the platform is touched. The
// first three look at the raw command line, word 0 included where it says so.
namespace zellauncher {

// A caller that declares the number of its words (`-maxargcnt <n>`) must have brought just so many.
// Fatal ZLNCH0069E.
void checkUrlHandlerArgs(const Arguments& arguments);

// No double quote anywhere, word 0 included: the command puts words in double quotes. Fatal ZLNCH0089E.
void checkDoubleQuotes(const Arguments& arguments);

// No word, word 0 included, may name the JVM's library path or home. Fatal ZLNCH0190E, ZLNCH0191E,
// ZLNCH0192E.
void checkForbiddenArgs(const Arguments& arguments);

// An installation request (`-provManifest` among the effective arguments) while the platform runs
// is the fatal ZLNCH0122E. Reads isMainProcess and lockOwnerPid, so it follows the lock.
void checkProvManifest(const Arguments& effectiveArgs);

// `-restart` is among the words from 1 on.
bool hasRestartFlag(const Arguments& arguments);

}  // namespace zellauncher
