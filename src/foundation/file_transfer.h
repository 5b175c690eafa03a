#pragma once

#include <string>

// Bringing a file or a whole directory from one place to another, whatever stands at the target.
namespace zellauncher {

enum class Presence { required, optional };
enum class Transfer { copy, move };

// Moves or copies `<sourceDirectory>\<sourceName>` to `<targetDirectory>\<targetName>`; with an empty
// name the location is the directory itself. Separators may be mixed. What stands at the target is
// removed first: a file by deleteFile, a directory by way of a numbered sibling
// `<target>deleteme0001` to `0005`, which a later transfer cleans up if it resists. A copy is for
// files only, and on the device when this returns, since its source may be moved away next. An absent
// optional source is a debug line and touches nothing. Every other failure is fatal: ZLNCH0109E, ZLNCH0111E,
// ZLNCH0112E, ZLNCH0141E, ZLNCH0113E; what was done before it stays.
void transferPath(const std::wstring& targetDirectory, const std::wstring& targetName,
                  const std::wstring& sourceDirectory, const std::wstring& sourceName, Presence presence,
                  Transfer transfer);

// Moves a directory (or file) in the place of another.
void moveDirectoryReplacing(const std::wstring& target, const std::wstring& source, Presence presence);

}  // namespace zellauncher
