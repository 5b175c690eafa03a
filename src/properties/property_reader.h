#pragma once

#include <string>

#include "properties/property_list.h"

namespace zellauncher {

// Reads a file of the property dialect and appends its entries, in file order, to the list. A file
// that cannot be opened is the fatal ZLNCH0096E: callers that can live without it test first. A
// reading that fails ends the file there, and a line in the log says so, debug flag or not.
void loadPropertyFile(const std::wstring& path, PropertyList& list);

}  // namespace zellauncher
