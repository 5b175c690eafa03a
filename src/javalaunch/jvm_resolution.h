#pragma once

#include <string>

#include "platform/process_wide.h"
#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

// Where the directory with jvm.properties is: the JVM root, and what follows from it.
namespace zellauncher {

extern PROCESS_WIDE std::wstring jvmPolicyFilePath;
extern PROCESS_WIDE bool jvmPropertiesInWorkspace;

struct JvmRoot {
    std::wstring jvmPropertiesPath;  // forward slashes
    bool externalJvm = true;         // not in a plug-in directory of the installation
    std::wstring vmPath;             // `${zel.home}` replaced, forward slashes; empty without a VM
};

// Finds the JVM root from `-vm`, else the `vm` property, and adds it to the list as `jvm.root`.
// Always true. Fatal ZLNCH0079E for a `-vm` without a value.
bool resolveJvmRoot(PropertyList& zelInstallArray, const Arguments& arguments, const std::wstring& zelHome,
                    JvmRoot& root);

// The step behind it: loads jvm.properties into the list (fatal ZLNCH0096E), takes the `vmarg.` keys
// out, settles `java.home`, and rewrites `jvm.library.path` under it.
void loadJvmProperties(PropertyList& zelInstallArray, VmargOverrides& overrides, const JvmRoot& root,
                       const std::wstring& zelHome);

// The plug-in directory under `/eclipse/plugins/` that holds the VM, with a trailing slash, when it
// has a jvm.properties. Sets externalJvm.
bool findPluginJvmRoot(const std::wstring& path, std::wstring& root, bool& externalJvm);

// The directory two, three or four levels above the VM that has a jvm.properties, with a trailing slash.
bool findParentJvmRoot(const std::wstring& vmPath, std::wstring& root);

// `directory` ends in its separator.
bool hasJvmProperties(const std::wstring& directory);

// The workspace when it has a jvm.properties, else `root` with `/zel/deploy/`.
void loadJVMPropertiesFileFromWorkspace(const PropertyList& zelInstallArray, std::wstring& root);

// What stands in front of `/jvm/bin` in the VM's path, else the default.
void deriveJavaHome(const std::wstring& vmPath, std::wstring& javaHome, const std::wstring& defaultHome);

}  // namespace zellauncher
