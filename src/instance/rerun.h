#pragma once

namespace zellauncher {

// What a supervising launcher does at the lock before it starts its platform again. Without this, a start
// that comes before the new platform can be found, or a second supervisor, would start another platform.
//
// Takes the lock again (relockPlatformFile). If another launcher has recorded a platform since then, and it
// is alive, releases the lock and returns false: that launcher supervises its platform, and this one must not
// start any. Otherwise sets the old pipe file aside, so that the lock is held until the new platform has
// published, and returns true. If the lock cannot be taken within five minutes, returns true without it and
// changes nothing, because a launcher that hangs must not leave the user without a platform.
bool claimRerun();

}  // namespace zellauncher
