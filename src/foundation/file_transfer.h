#pragma once

#include <string>

// Moving or copying a file or directory to a place where something may exist already.
namespace zellauncher {

enum class Presence { required, optional };
enum class Transfer { copy, move };

// Moves or copies `<sourceDirectory>\<sourceName>` to `<targetDirectory>\<targetName>`; an empty name
// means the directory itself. Separators may be mixed. An existing target is removed first: a file
// by deleteFile, a directory by renaming it to `<target>deleteme0001` to `0005` and removing that; a
// directory that cannot be removed is tried again at the next transfer. Only files are copied, and a
// copy is flushed to the device, because its source may be moved away next. A missing optional source
// is a debug line and changes nothing. Any other failure is fatal (ZLNCH0109E, ZLNCH0111E, ZLNCH0112E,
// ZLNCH0113E, ZLNCH0141E) and leaves what was done before it.
void transferPath(const std::wstring& targetDirectory, const std::wstring& targetName,
                  const std::wstring& sourceDirectory, const std::wstring& sourceName, Presence presence,
                  Transfer transfer);

// transferPath for a whole directory or file, moved.
void moveDirectoryReplacing(const std::wstring& target, const std::wstring& source, Presence presence);

}  // namespace zellauncher
