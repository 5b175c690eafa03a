#pragma once

namespace zellauncher {

// Lists the jars of a companion application in the command. Not built yet: ends with a fatal line.
void scanExtensionJars();

}  // namespace zellauncher
