#include "provisioning/platform_xml.h"

#include <cstddef>

#include "configuration/initial_launch.h"
#include "configuration/install_files.h"
#include "configuration/install_kind.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "foundation/text_stream.h"
#include "foundation/user_files.h"

namespace zellauncher {

namespace {

// One of the two identities in the template. The placeholders have the names of the keys.
struct FeatureIdentity {
    const wchar_t* idKey;
    const wchar_t* versionKey;
    const char* missingMessage;
};

constexpr FeatureIdentity jvmFeature = {
    L"jvm.feature.id", L"jvm.feature.version",
    "ZLNCH0101E: Error while copying platform.xml to user specific platform.xml file."};
constexpr FeatureIdentity parentFeature = {
    L"jvm.parent.feature.id", L"jvm.parent.feature.version",
    "ZLNCH0102E: Error while copying platform.xml to user specific platform.xml file."};

constexpr const char* writeMessage =
    "ZLNCH0103E: Error while copying platform.xml to user specific platform.xml file.";

// A line of 2024 characters has room for 119 placeholders.
constexpr std::size_t mostReplacements = 1000;

std::wstring placeholderOf(const std::wstring& key) {
    return L"${" + key + L"}";
}

// Replaces the placeholder, also where a value completes another one. A value that contains or forms its own
// placeholder would go on without end; then the line stays as it is.
void replaceAll(std::wstring& line, const std::wstring& key, const std::wstring& value) {
    const std::wstring placeholder = placeholderOf(key);
    std::wstring replaced = line;
    for (std::size_t count = 0; replaceFirst(replaced, placeholder, value); ++count) {
        if (count == mostReplacements) {
            logDebugF(L"ZELLauncher> the value of %s contains its placeholder, so the placeholder stays",
                      placeholder);
            return;
        }
    }
    line = replaced;
}

// Fills in an identity if the line contains its id. False if a value is missing.
bool fillIn(std::wstring& line, const FeatureIdentity& feature, const PropertyList& zelLauncherArray,
            bool externalJvm) {
    if (line.find(placeholderOf(feature.idKey)) == std::wstring::npos) {
        return true;
    }
    if (externalJvm) {
        line = L"<feature>";
        return true;
    }
    const std::wstring* id = lookupProperty(feature.idKey, zelLauncherArray);
    const std::wstring* version = lookupProperty(feature.versionKey, zelLauncherArray);
    if (id == nullptr || version == nullptr) {
        logDebug(feature.missingMessage);
        return false;
    }
    replaceAll(line, feature.idKey, *id);
    replaceAll(line, feature.versionKey, *version);
    return true;
}

void copyTemplate(TextStream& source, TextStream& target, const PropertyList& zelLauncherArray,
                  bool externalJvm) {
    std::wstring line;
    while (readNextLine(source, line)) {
        if (!fillIn(line, jvmFeature, zelLauncherArray, externalJvm) ||
            !fillIn(line, parentFeature, zelLauncherArray, externalJvm)) {
            return;
        }
        if (putText(target, line + L"\n") < 0) {
            logDebug(writeMessage);
            return;
        }
    }
}

bool isUpdateManaged(const PropertyList& zelLauncherArray) {
    const std::wstring* managed = lookupProperty(L"update.policy.managed", zelLauncherArray);
    return managed == nullptr || *managed != L"false";
}

void ensureUpdateDirectory(const std::wstring& directory) {
    if (directoryExists(directory)) {
        return;
    }
    initialLaunch = true;
    if (!createDirectories(directory)) {
        logFatalF("ZLNCH0039E: Unable to create %ls directory.", directory);
    }
}

int makePlatformXml(const std::wstring& sourcePath, const std::wstring& targetPath,
                    const PropertyList& zelLauncherArray, bool externalJvm) {
    TextStream source = openFile(sourcePath, "r");
    if (source.stream == nullptr) {
        logDebugF(L"ZLNCH0104E: Unable to open platform.xml.\"%s\"", sourcePath);
        return -1;
    }
    TextStream target = openFile(targetPath, "w");
    if (target.stream == nullptr) {
        logDebugF(L"ZLNCH0139E: Unable to open platform.xml for writing.\"%s\"", targetPath);
        closeTextStream(source);
        return -1;
    }
    rewindTextStream(source);
    copyTemplate(source, target, zelLauncherArray, externalJvm);
    closeTextStream(source);
    if (!closeTextStream(target)) {
        logDebug(writeMessage);
    }
    bringToDevice(targetPath);
    initialLaunch = true;
    return 0;
}

}  // namespace

int seedPlatformXml(const std::wstring& configDirectory, const std::wstring& baseLocation,
                    const PropertyList& zelLauncherArray, bool externalJvm) {
    if (InstallConfiguration == InstallConfigurationKind::userpb) {
        return 0;
    }
    const std::wstring directory = withBackslashes(configDirectory + L"\\" + updateDirectoryName);
    ensureUpdateDirectory(directory);
    const std::wstring target = directory + L"\\" + platformXmlName;
    if (fileExists(target) || !isUpdateManaged(zelLauncherArray)) {
        return 0;
    }
    return makePlatformXml(baseFilePath(baseLocation, platformXmlName), target, zelLauncherArray,
                           externalJvm);
}

}  // namespace zellauncher
