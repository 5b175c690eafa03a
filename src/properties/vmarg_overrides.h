#pragma once

#include <map>
#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"

// Named JVM options, `vmarg.<name>=<option>`. The first source of a name shuts out all later ones,
// so the order of the collecting calls is the precedence.
namespace zellauncher {

// From the key with its prefix to a complete JVM option, which may be empty.
using VmargOverrides = std::map<std::wstring, std::wstring>;

// Puts the overrides among the words into the map and the other words, in order, into `kept`
// (emptied first). One without `=`: fatal ZLNCH0033E.
void collectVmArguments(VmargOverrides& overrides, const Arguments& words, Arguments& kept);

// The same in place. One without `=`: fatal ZLNCH0128E.
void collectVmWords(VmargOverrides& overrides, Arguments& words);

// Moves the entries with the prefix from the list into the map.
void collectVmProperties(VmargOverrides& overrides, PropertyList& list);

}  // namespace zellauncher
