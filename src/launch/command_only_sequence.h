#pragma once

#include "properties/arguments.h"

namespace zellauncher {

// Prepares a command for a running platform without touching anything. Not built yet: ends with a
// fatal line.
void commandOnlySequence(const Arguments& arguments);

}  // namespace zellauncher
