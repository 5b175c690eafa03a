#pragma once

#include <string>

#include "properties/property_list.h"

namespace launchertest {

// The list without the entries that have this key.
inline zellauncher::PropertyList withoutKey(const zellauncher::PropertyList& list, const std::wstring& key) {
    zellauncher::PropertyList kept;
    for (const zellauncher::PropertyEntry& entry : list) {
        if (entry.key != key) {
            kept.push_back(entry);
        }
    }
    return kept;
}

}  // namespace launchertest
