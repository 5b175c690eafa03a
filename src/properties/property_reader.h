#pragma once

#include <string>

#include "properties/property_list.h"

namespace zellauncher {

// Reads a file of the property dialect and appends its entries, in file order, to the list. A file
// that cannot be opened is the fatal ZLNCH0096E: callers that can live without it test first.
void loadPropertyFile(const std::wstring& path, PropertyList& list);

}  // namespace zellauncher
