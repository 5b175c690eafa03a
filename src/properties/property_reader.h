#pragma once

#include <string>

#include "properties/property_list.h"

namespace zellauncher {

// Reads a file of the property dialect and appends its entries to the list in file order. A file that
// cannot be opened is the fatal ZLNCH0096E, so callers test first if it may be missing. A failed read
// ends the file there, with a log line that needs no debug flag.
void loadPropertyFile(const std::wstring& path, PropertyList& list);

}  // namespace zellauncher
