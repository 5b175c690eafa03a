#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "properties/property_list.h"

// What foundation/explanation.h is for values, for keys. In the product these functions are nothing.
namespace zellauncher {

#ifdef ZELLAUNCHER_SIMULATION
void explainLookup(const std::wstring& key, const PropertyList& list, std::optional<std::size_t> found);
void explainOverridden(const wchar_t* key, const PropertyList& list);
#else
// The key was looked up in the list; `found` is the position of its first entry.
inline void explainLookup(const std::wstring& /*key*/, const PropertyList& /*list*/,
                          std::optional<std::size_t> /*found*/) {}
// Another source won, so the key was not looked up.
inline void explainOverridden(const wchar_t* /*key*/, const PropertyList& /*list*/) {}
#endif

}  // namespace zellauncher
