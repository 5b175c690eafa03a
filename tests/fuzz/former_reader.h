#pragma once

#include <string>
#include <vector>

#include "properties/property_list.h"

namespace former {

using Entries = std::vector<zellauncher::PropertyEntry>;

void loadPropertyFile(const std::wstring& path, Entries& list);

}  // namespace former
