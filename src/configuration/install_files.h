#pragma once

#include <string>

#include "properties/property_list.h"

// Names and paths of files in the install.
namespace zellauncher {

// File name of the native platform launcher: the value of `eclipse.name`, even if it is empty,
// otherwise `eclipse.exe`.
std::wstring platformProgramName(const PropertyList& list);

// Path of a template or other file below the base directory, with backslashes:
// `<base>\config\<subdirectory of the kind>\<name>` if that exists, otherwise `<base>\<name>`, whether
// it exists or not.
std::wstring baseFilePath(const std::wstring& baseDirectory, const std::wstring& fileName);

}  // namespace zellauncher
