#pragma once

namespace launchertest {

// True if the environment variable ZELLAUNCHER_LONG asks for whole runs instead of an ordinary test
// run's share: any value except an empty one and 0.
bool isLongRun();

// True in a program that is built with the address sanitizer, which makes it many times slower.
bool isSanitized();

}  // namespace launchertest
