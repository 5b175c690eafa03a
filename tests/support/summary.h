#pragma once

namespace launchertest {

// If the variable ZELLAUNCHER_TEST_SUMMARY names a file, the tests write to it at their end, for scripts that
// read no XML:
//
//   counts <passed> <failed> <skipped>
//   failed <test>                one line each
//   skipped <test> <reason>
//
// Call it after InitGoogleTest.
void writeSummaryAtEnd();

}  // namespace launchertest
