#pragma once

#include <map>
#include <string>

#include "foundation/sourced_text.h"
#include "properties/arguments.h"
#include "properties/property_list.h"

// Named JVM options, `vmarg.<name>=<option>`. The first source of a name wins, so the order of the
// collecting calls is the precedence.
namespace zellauncher {

// From the key, prefix included, to a complete JVM option, which may be empty.
using VmargOverrides = std::map<std::wstring, SourcedText>;

// Moves the overrides among the arguments into the map and returns the other arguments, in order. An
// override without `=` is fatal (ZLNCH0033E).
Arguments collectVmArguments(VmargOverrides& overrides, const Arguments& arguments);

// The same in place; an override without `=` is the fatal ZLNCH0128E.
void collectVmWords(VmargOverrides& overrides, Arguments& arguments);

// Moves the entries with the prefix from the list into the map.
void collectVmProperties(VmargOverrides& overrides, PropertyList& list);

}  // namespace zellauncher
