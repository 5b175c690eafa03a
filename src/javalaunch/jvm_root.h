#pragma once

#include <optional>
#include <string>

#include "platform/process_wide.h"
#include "properties/arguments.h"
#include "properties/property_list.h"

// The JVM root: the directory whose jvm.properties describes the JVM.
namespace zellauncher {

// The last jvm.properties that was looked for in the workspace, and whether it exists.
extern PROCESS_WIDE std::wstring jvmPolicyFilePath;
extern PROCESS_WIDE bool jvmPropertiesInWorkspace;

struct JvmRoot {
    std::wstring jvmPropertiesPath;  // forward slashes
    bool externalJvm = true;         // not in a plug-in directory of the install
    std::wstring vmPath;             // `${zel.home}` replaced, forward slashes; empty without a JVM
};

// Finds the root of the JVM that `-vm`, otherwise the property `vm`, names, and adds it to the list as
// `jvm.root`. Always has a value. Fatal ZLNCH0079E for a `-vm` without a value.
std::optional<JvmRoot> resolveJvmRoot(PropertyList& zelInstallArray, const Arguments& arguments,
                                      const std::wstring& zelHome);

// The plug-in directory below `/eclipse/plugins/` that holds the JVM, with a trailing slash, if it has
// a jvm.properties.
std::optional<std::wstring> findPluginJvmRoot(const std::wstring& vmPath);

// The nearest directory two, three or four levels above the JVM that has a jvm.properties, with a
// trailing slash.
std::optional<std::wstring> findParentJvmRoot(const std::wstring& vmPath);

// True if the directory, given with its trailing separator, has a jvm.properties.
bool hasJvmProperties(const std::wstring& directory);

// The root of a JVM without a jvm.properties of its own, with a trailing separator: the workspace if
// it has one, otherwise `<zelHome>/zel/deploy/`. Sets jvmPolicyFilePath and jvmPropertiesInWorkspace.
std::wstring loadJVMPropertiesFileFromWorkspace(const PropertyList& zelInstallArray,
                                                const std::wstring& zelHome);

}  // namespace zellauncher
