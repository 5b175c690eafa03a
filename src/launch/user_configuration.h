#pragma once

#include "launch/launch_context.h"

// Bringing the user's configuration into order before it is read.
namespace zellauncher {

// Moves the configuration away if the install identity has changed, otherwise if there is `-resetconfig`.
// Does nothing on an initial launch.
void resetConfigurationIfDue(const LaunchContext& context);

// Creates the application directories, config.ini and the user's zelinstall.properties where they are
// missing, and writes the restart state on a main process without `-restart`. Sets userPropsPath. Fatal:
// ZLNCH0094E, ZLNCH0095E and those of the subsystems called.
void seedConfiguration(LaunchContext& context);

// If the user's zelinstall.properties lacks a key that every command needs, restores it from its backup
// or, if the backup is no better, resets and seeds the configuration again.
void repairUserProperties(LaunchContext& context);

// Replaces the backup by a copy of the user's zelinstall.properties, which is known to be good by now.
void refreshUserPropertiesBackup(const LaunchContext& context);

}  // namespace zellauncher
