#include "launch/command_only_sequence.h"

#include "foundation/log_channel.h"

namespace zellauncher {

void commandOnlySequence(const Arguments& /*arguments*/) {
    setLogFileName(L"dcommand.log");
    logFatal("ZELLauncher> this version can not send a command with -dcommand_only");
}

}  // namespace zellauncher
