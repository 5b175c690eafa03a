#pragma once

namespace zellauncher {

// Lists the jars of a companion application, the `.jar` and `.zip` files of the directory in
// extensionDirPattern, in one last element of the command, `-cp=` and the list. At most 100 files and
// 2000 characters; what is beyond them is left out. No failure stops a start. Takes the `*` off
// extensionDirPattern and turns its separators into forward slashes.
void scanExtensionJars();

}  // namespace zellauncher
