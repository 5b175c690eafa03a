#pragma once

#include "launch/launch_context.h"

// The user's configuration before the run reads it: moved away when the install has changed or the
// user asks for that, made where it is missing, repaired where it is damaged.
namespace zellauncher {

// Moves the configuration away after a change of the install identity, or else on `-resetconfig`.
// A start that has just made a directory of the user's does neither.
void resetConfigurationIfDue(const LaunchContext& context);

// One pass over the application area, the restart state, config.ini and the user's
// zelinstall.properties; each is made only when it is missing, but for the restart state, which a
// main process without `-restart` writes anew. Settles userPropsPath. Fatal: ZLNCH0094E, ZLNCH0095E
// and those of the subsystems called.
void seedConfiguration(LaunchContext& context);

// Makes sure that the user's zelinstall.properties holds the keys without which no command can be
// built: from its backup when that is good, else by a reset and a second pass of seeding.
void repairUserProperties(LaunchContext& context);

// Replaces the backup by a copy of the user's zelinstall.properties, which this start has proved good.
void refreshUserPropertiesBackup(const LaunchContext& context);

}  // namespace zellauncher
