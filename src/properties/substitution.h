#pragma once

#include <cstddef>
#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

// Tokens in property values and command-line words: the location tokens `${zel.home}`,
// `${workspace.location}` and `${zel.data}`, and the property tokens `${env.NAME}`,
// `${env.NAME,default}` and `${prop.key}`. Names are case-sensitive, but for those of environment
// variables, which the system compares without regard to case.
namespace zellauncher {

// Replaces the three location tokens by the directories, which are handed in with forward slashes.
// True when anything was replaced.
bool replaceLocationTokens(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                           std::wstring& text);

// Finds the last token that begins at or in front of `position`. Returns the index of its `$`, or
// -1; `length` is that of the token and `name` what stands between its braces.
std::ptrdiff_t findLastToken(const std::wstring& text, std::ptrdiff_t position, std::size_t& length,
                             std::wstring& name);

// The replacement of a property token's name; false when it has none, with the token itself as the
// replacement.
bool resolveToken(const std::wstring& name, std::wstring& replacement, const PropertyList& list);

// Replaces the property tokens of a text from right to left, those that replacements bring in too.
// False when a token cannot be resolved (it stays; those to its left are still replaced) and when
// the text expands to itself or past every bound.
bool substituteProperties(std::wstring& text, const PropertyList& list);

// Both mechanisms on every value of the list, in place. A token without a value, and values that
// together grow past every bound: fatal ZLNCH0088E.
// The directories may have any separators here and below.
void substitutePropertyList(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                            PropertyList& list);

// Both mechanisms on every override; `${prop.key}` is looked up in the list. Fatal as above.
void substituteVmArguments(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                           const PropertyList& list, VmargOverrides& overrides);

// The location tokens alone on every word, word 0 included.
void substituteArguments(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                         Arguments& arguments);

// Puts `${prop.java.home}/` in front of the entries of a path list separated by `;`, with forward
// slashes. From the third entry on its stepping loses entries; files are written with that in mind.
void prefixJavaHomeEntries(std::wstring& text);

}  // namespace zellauncher
