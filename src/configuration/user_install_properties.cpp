#include "configuration/user_install_properties.h"

#include <cstdint>
#include <optional>

#include "configuration/initial_launch.h"
#include "configuration/install_files.h"
#include "foundation/explanation.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text_stream.h"
#include "foundation/user_files.h"
#include "properties/os_qualified_lines.h"

namespace zellauncher {

namespace {

struct CopyState {
    bool isDropping = false;    // the next line belongs to an entry that was dropped
    bool isContinuing = false;  // the next line continues one that was kept
};

// Whether the line is copied to the user's file. Removes the qualifier of its key.
bool isKept(CopyState& state, std::wstring& line) {
    if (state.isDropping) {
        state = {endsInContinuation(line), false};
        return false;
    }
    if (state.isContinuing) {
        state.isContinuing = endsInContinuation(line);
        return true;
    }
    if (line.starts_with(L"#") || line.starts_with(L"!")) {
        return true;
    }
    state.isContinuing = endsInContinuation(line);
    if (isForeignPlatformLine(line)) {
        state = {state.isContinuing, false};
        return false;
    }
    return true;
}

void copyLines(TextStream& source, TextStream& target) {
    CopyState state;
    std::wstring line;
    while (readNextLine(source, line)) {
        if (!isKept(state, line)) {
            continue;
        }
        explainMadeLine(source.position);
        if (putText(target, line + L"\n") < 0) {
            logDebug(
                "ZLNCH0001E: Error while copying base zelinstall.properties to user specific "
                "zelinstall.properties file.");
        }
    }
}

// Required oddity: a line is its own format, so `%%` is one percent sign and any other conversion gives
// nothing. Each line is formatted alone, so that a value ending in `%` does not consume the next line.
void appendLine(std::wstring& block, const wchar_t* key, const SourcedText& value) {
    explainMadeLine(value);
    block += formatText(std::wstring(key) + L"=" + value, {}) + L"\n";
}

void appendPath(std::wstring& block, const wchar_t* key, const SourcedText& path) {
    appendLine(block, key, withSourceOf(path, escapeValue(withForwardSlashes(path))));
}

void appendOptionalLine(std::wstring& block, const wchar_t* key, const PropertyList& zelLauncherArray) {
    if (const SourcedText* value = lookupProperty(key, zelLauncherArray)) {
        appendLine(block, key, *value);
    }
}

// The lines that the launcher adds to the template; nothing if a required key is missing.
std::optional<std::wstring> knownLines(const PropertyList& zelLauncherArray) {
    const SourcedText* installId = lookupProperty(L"zel.install.id", zelLauncherArray);
    const SourcedText* jvm = lookupProperty(L"jvm.location", zelLauncherArray);
    const SourcedText* location = lookupProperty(L"zel.base.location", zelLauncherArray);
    const SourcedText* kind = lookupProperty(L"install.configuration", zelLauncherArray);
    if (installId == nullptr || location == nullptr || kind == nullptr) {
        return std::nullopt;
    }
    std::wstring block;
    appendLine(block, L"zel.install.id", *installId);
    if (jvm != nullptr && !jvm->empty()) {
        appendPath(block, L"vm", *jvm);
    }
    appendPath(block, L"zel.base.location", *location);
    appendLine(block, L"install.configuration", *kind);
    appendOptionalLine(block, L"com.mivel.zel.core.locale", zelLauncherArray);
    appendOptionalLine(block, L"com.mivel.zel.core.bidi", zelLauncherArray);
    return block;
}

void appendKnownLines(TextStream& target, const PropertyList& zelLauncherArray) {
    const std::optional<std::wstring> block = knownLines(zelLauncherArray);
    if (!block) {
        closeTextStream(target);
        logFatal(
            "ZLNCH0008E: Unable to calculate necessary values for user specific zelinstall.properties file.");
    }
    // A full disk may show only when the buffer is written.
    if (putText(target, *block) < 0 || !flushTextStream(target)) {
        logDebug("ZLNCH0015E: Unable to append values to user specific zelinstall.properties file.");
    }
    closeTextStream(target);
}

bool isEscapedMark(wchar_t unit) {
    return unit == L'#' || unit == L'!' || unit == L'=' || unit == L':' || unit == L'\\';
}

void appendEscaped(std::wstring& out, wchar_t unit) {
    if (unit < 32 || unit >= 127) {
        out += formatText(L"\\u%04x", {std::uint64_t{static_cast<std::uint32_t>(unit)}});
        return;
    }
    if (isEscapedMark(unit)) {
        out += L'\\';
    }
    out += unit;
}

}  // namespace

std::wstring ensureUserInstallProperties(const std::wstring& configDirectory,
                                         const std::wstring& baseLocation,
                                         const PropertyList& zelLauncherArray) {
    const std::wstring userFile = withBackslashes(configDirectory + L"\\" + installPropertiesName);
    explainUserProperties(userFile);
    if (fileExists(userFile)) {
        return userFile;
    }
    const std::wstring templateFile = baseFilePath(baseLocation, installPropertiesName);
    explainTemplate(templateFile);
    if (!copyFileNoReplace(templateFile, userFile)) {
        logFatal("ZLNCH0022E: Unable to copy zelinstall.properties to the user directory.");
    }
    const std::wstring temporaryFile = userFile + L".new";
    writeUserInstallProperties(userFile, temporaryFile, zelLauncherArray);
    bringToDevice(temporaryFile);
    deleteFile(userFile);
    moveFile(temporaryFile, userFile);
    initialLaunch = true;
    return userFile;
}

int writeUserInstallProperties(const std::wstring& userFile, const std::wstring& temporaryFile,
                               const PropertyList& zelLauncherArray) {
    TextStream source = openFile(withBackslashes(userFile), "r");
    TextStream target = openFile(withBackslashes(temporaryFile), "w");
    if (source.stream == nullptr || target.stream == nullptr) {
        logDebug(
            "ZLNCH0074E: Unable to open user specific zelinstall.properties and temporary "
            "zelinstall.properties files.");
        closeTextStream(source);
        closeTextStream(target);
        return -1;
    }
    copyLines(source, target);
    closeTextStream(source);
    appendKnownLines(target, zelLauncherArray);
    return 0;
}

std::wstring escapeValue(const std::wstring& text) {
    std::wstring escaped;
    for (const wchar_t unit : text) {
        appendEscaped(escaped, unit);
    }
    return escaped;
}

std::wstring escapeEntry(const std::wstring& key, const std::wstring& value) {
    std::wstring escaped;
    for (const wchar_t unit : key) {
        if (unit == L' ') {
            escaped += L'\\';
        }
        appendEscaped(escaped, unit);
    }
    return escaped + L"=" + escapeValue(value);
}

}  // namespace zellauncher
