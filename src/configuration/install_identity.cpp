#include "configuration/install_identity.h"

#include <cstdint>

#include "configuration/install_kind.h"
#include "foundation/explanation.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text_stream.h"
#include "foundation/user_files.h"
#include "platform/clock.h"
#include "properties/property_reader.h"

namespace zellauncher {

namespace {

constexpr const wchar_t* identityKey = L"zel.install.id";

// Required oddity: the line is its own format. Flushed at once, so that a full disk is still reported.
void appendIdentity(const std::wstring& propertiesPath, const std::wstring& identity) {
    TextStream file = openFile(propertiesPath, "a+");
    if (file.stream == nullptr) {
        logFatalF("ZLNCH0017E: Could not open %ls to append zel.install.id!", propertiesPath);
    }
    const std::wstring line = std::wstring(identityKey) + L"=" + identity + L"\n";
    const bool isWritten = putText(file, formatText(line, {})) >= 0 && flushTextStream(file);
    if (!isWritten) {
        logFatalF("ZLNCH0018E: Error while writing to %ls file.", propertiesPath);
    }
    closeTextStream(file);
    bringToDevice(propertiesPath);
}

}  // namespace

SourcedText resolveInstallId(const std::wstring& propertiesPath, PropertyList& zelLauncherArray) {
    if (const SourcedText* identity = lookupProperty(identityKey, zelLauncherArray)) {
        return *identity;
    }
    if (InstallConfiguration != InstallConfigurationKind::userpb) {
        logFatal("ZLNCH0016E: zel.install.id is required for this configuration!");
    }
    std::wstring identity = formatText(L"%lu", {std::uint64_t{platform::tickCount()}});
    zelLauncherArray.push_back({identityKey, identity});
    appendIdentity(propertiesPath, identity);
    return identity;
}

bool installIdChanged(const std::wstring& installId, const std::wstring& configDirectory) {
    const std::wstring userFile = withBackslashes(configDirectory + L"\\" + installPropertiesName);
    if (!fileExists(userFile)) {
        return false;
    }
    PropertyList properties;
    loadPropertyFile(userFile, properties);
    const std::wstring* recorded = lookupProperty(identityKey, properties);
    return recorded != nullptr && !recorded->empty() && *recorded != installId;
}

}  // namespace zellauncher
