#pragma once

// Names of the files and directories that the launcher keeps for a user.
namespace zellauncher {

// In the workspace.
inline constexpr const wchar_t* lockFileName = L".zel.lock";
inline constexpr const wchar_t* mainRecordName = L".zel.main";
inline constexpr const wchar_t* pipeFileName = L".pipe";
inline constexpr const wchar_t* crashedPipeFileSuffix = L".crashed";
inline constexpr const wchar_t* logsDirectoryName = L"logs";
inline constexpr const wchar_t* configDirectoryName = L".config";

// In the log directory. The second is the name that a command-only start looks for in TEMP.
inline constexpr const wchar_t* launcherLogName = L"zellauncher.log";
inline constexpr const wchar_t* commandOnlyLogName = L"dcommand.log";
inline constexpr const wchar_t* shutdownLogName = L"shutdown.log";

// In the configuration directory.
inline constexpr const wchar_t* argsPropertiesName = L"args.properties";
inline constexpr const wchar_t* configIniName = L"config.ini";
inline constexpr const wchar_t* installPropertiesName = L"zelinstall.properties";
inline constexpr const wchar_t* updateDirectoryName = L"org.eclipse.update";

// In the update directory.
inline constexpr const wchar_t* platformXmlName = L"platform.xml";
inline constexpr const wchar_t* registryFileName = L"registry";
inline constexpr const wchar_t* bookmarksName = L"bookmarks.xml";

// In the workspace, in a JVM's directory or in the install.
inline constexpr const wchar_t* jvmPropertiesName = L"jvm.properties";

// In the user's home path, written by a supervised platform.
inline constexpr const wchar_t* exitDataName = L".exitData";

}  // namespace zellauncher
