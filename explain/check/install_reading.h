#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "configuration/install_kind.h"
#include "explain/explanation.h"
#include "explain/machine_setup.h"
#include "explain/property_files.h"

// An install as the launcher reads it. The launcher's own code reads it, on the simulated machine.
namespace explain {

// The longest path that Windows programs can use. The launcher finds no template at a longer one.
inline constexpr std::size_t longestPath = 259;

// A variable that the machine lacks gets a path in this directory. Whether a file is there is unknown.
inline constexpr const wchar_t* inventedDirectory = L"C:\\zelexplain\\variables";

// A file of the install.
struct InstallFile {
    std::wstring path;  // on the machine
    bool exists = false;
    std::string bytes;
    Entries entries;  // of a property file
};

// A token of a value. One without its closing brace goes to the end of the value.
struct TokenText {
    std::wstring name;
    std::wstring text;
    bool isClosed = false;
};

// The last one first.
std::vector<TokenText> tokensOf(const std::wstring& value);

// A value of the properties of a run, with its tokens replaced.
struct ExpandedValue {
    std::wstring key;
    std::wstring raw;
    std::wstring text;
    bool isResolved = false;                // true of a value that only uses an unresolved one
    std::optional<TokenText> unknownToken;  // none if an unresolved value contains itself
    std::shared_ptr<const zellauncher::Source> source;
};

struct InstallReading {
    InstallFile launcherProperties;
    zellauncher::InstallConfigurationKind kind = zellauncher::InstallConfigurationKind::unknown;
    bool isDirectJavaStart = false;
    std::optional<std::wstring> baseLocation;
    InstallFile userTemplate;  // zelinstall.properties of the base location, as the next two
    InstallFile configIni;
    InstallFile platformXml;
    bool makesPlatformXml = false;  // for each user, if the template is there
    InstallFile jvmProperties;
    // What the launcher makes of the template; from its lines to those that they were made from.
    Entries made;
    std::map<std::size_t, Place> origins;
    std::vector<ExpandedValue> values;        // of a run, in their order; the named options of the JVM follow
    bool hasWorkspace = false;                // zel.data has no token that stays
    std::optional<TokenText> workspaceToken;  // that stays in zel.data
    std::wstring workspace;

    // The first value with this key; null if there is none.
    const ExpandedValue* value(const std::wstring& key) const;
};

// The place of a value in the install: of a value from a user's copy, the line that it was made from.
Place placeOf(const InstallReading& reading, const StartOptions& options,
              const std::shared_ptr<const zellauncher::Source>& source);

// Relative to the install with forward slashes, or as it is.
std::wstring installName(const StartOptions& options, const std::wstring& path);

// Reads the install at options.install, which has `zel`. Keys that are missing are read as if they had a
// value that works, so that one mistake does not hide the others.
InstallReading readInstall(const StartOptions& options);

// Each text as a property file, read by the launcher.
std::vector<Entries> readAsPropertyFiles(const std::vector<std::string>& texts);

}  // namespace explain
