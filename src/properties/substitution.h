#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

// Tokens in property values and arguments: the location tokens `${zel.home}`, `${workspace.location}` and
// `${zel.data}`, and the property tokens `${env.NAME}`, `${env.NAME,default}` and `${prop.key}`. Names
// are case-sensitive except those of environment variables. Directories may have any separators unless
// a comment says otherwise.
namespace zellauncher {

// Replaces the three location tokens by the directories, given with forward slashes. True if anything was
// replaced.
bool replaceLocationTokens(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                           std::wstring& text);

// Replaces the property tokens of a text from right to left, also those that replacements bring in.
// False if a token cannot be resolved (it stays, and tokens to its left are still replaced), or if the
// text expands to itself or grows too long.
bool substituteProperties(std::wstring& text, const PropertyList& list);

// Replaces both kinds of tokens in every value of the list. A token without a value, and a value that
// expands to itself or grows too long, are the fatal ZLNCH0088E.
void substitutePropertyList(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                            PropertyList& list);

// The same for every override; `${prop.key}` is looked up in the list.
void substituteVmArguments(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                           const PropertyList& list, VmargOverrides& overrides);

// Replaces only the location tokens, in every argument including argument 0.
void substituteArguments(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                         Arguments& arguments);

// Prefixes the entries of a `;`-separated path list with `${prop.java.home}/`, with forward slashes.
// Required oddity: the third entry and later ones can be lost.
void prefixJavaHomeEntries(std::wstring& text);

}  // namespace zellauncher
