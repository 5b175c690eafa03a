#include "explain/check/encoding_checks.h"

#include <algorithm>
#include <string_view>

#include "explain/check/config_ini.h"
#include "explain/check/file_findings.h"
#include "explain/check/rules.h"
#include "explain/encoding.h"
#include "explain/windows_paths.h"
#include "foundation/byte_scan.h"
#include "javalaunch/launch_command.h"
#include "javalaunch/platform_arguments.h"

namespace explain {

namespace {

class EncodingCheck {
public:
    EncodingCheck(const InstallReading& theReading, const StartOptions& startOptions, const World& theWorld,
                  Findings& all)
        : reading(theReading), options(startOptions), world(theWorld), findings(all) {}

    void run() {
        findNativeIni();
        checkConfigIni();
        if (isUtf16(reading.platformXml.bytes) && reading.makesPlatformXml) {
            add(rules::utf16, Severity::error, reading.platformXml.path, 1, "the file is UTF-16",
                "The launcher copies it as text of one byte per character: a user's copy is damaged.",
                "Save the file as UTF-8.");
        }
        if (isUtf16(nativeIni.bytes)) {
            add(rules::utf16, Severity::warning, nativeIni.path, 1, "the file is UTF-16",
                "The native platform launcher reads one byte as one character and finds none of the options.",
                "Save the file as plain ASCII or UTF-8.");
        }
    }

private:
    const InstallReading& reading;
    const StartOptions& options;
    const World& world;
    Findings& findings;
    InstallFile nativeIni;

    void findNativeIni() {
        nativeIni.path = iniBeside(nativeLauncher());
        nativeIni.exists = FileFindings(options, world, findings).isFile(nativeIni.path);
        if (nativeIni.exists) {
            nativeIni.bytes = world.machine->readFile(nativeIni.path).value_or("");
        }
    }

    void add(const char* rule, Severity severity, const std::wstring& path, std::size_t line,
             std::string text, std::string consequence, std::string remedy) {
        addFinding(findings, rule, severity, {installName(options, path), line, L""}, std::move(text),
                   std::move(consequence), std::move(remedy));
    }

    // Java reads one byte as one character, too.
    void checkConfigIni() {
        const std::wstring& path = reading.configIni.path;
        if (isUtf16(reading.configIni.bytes)) {
            add(rules::utf16, Severity::error, path, 1, "the file is UTF-16",
                "The framework reads one byte as one character and finds none of the keys: no platform comes "
                "up, although the launcher ends with 0.",
                "Save the file as plain ASCII, with \\uXXXX for other characters.");
            return;
        }
        const std::vector<ConfigIniEntry> entries = readConfigIni(reading.configIni.bytes);
        if (reading.configIni.exists && !reading.isDirectJavaStart && entries.empty() &&
            isFrameworkShipped() && !isBundleListElsewhere()) {
            add(rules::missingKey, Severity::error, path, 0, "the file has no keys",
                "The framework starts no bundle: no platform comes up, although the launcher ends with 0.",
                "Add osgi.bundles to " + toUtf8(installName(options, path)) + ".");
        }
        for (const ConfigIniEntry& entry : entries) {
            std::string_view written = entry.written;
            if (entry.line == 1 && written.starts_with(utf8Mark)) {
                written.remove_prefix(utf8Mark.size());
                checkMark(entry.key.substr(utf8Mark.size()));
            }
            if (zellauncher::isAscii(written)) {
                continue;
            }
            if (isUtf8(written)) {
                add(rules::nonAscii, Severity::warning, path, entry.line, "the line has characters in UTF-8",
                    "The framework reads one byte as one character: each becomes two or more others.",
                    "Write \\uXXXX for each of these characters.");
            } else {
                add(rules::nonAscii, Severity::note, path, entry.line, "the line has bytes above 0x7F",
                    "The framework reads them as ISO 8859-1.", "If something else is meant, write \\uXXXX.");
            }
        }
    }

    // Otherwise the platform may have another framework, which needs no such file.
    bool isFrameworkShipped() const {
        const ExpandedValue* area = reading.value(L"-Dosgi.install.area");
        const auto path = area != nullptr ? fullDrivePath(area->text) : std::nullopt;
        const std::vector<std::wstring> names =
            path ? FileFindings(options, world, findings).namesIn(*path + L"\\plugins")
                 : std::vector<std::wstring>();
        return std::any_of(names.begin(), names.end(),
                           [](const std::wstring& name) { return name.starts_with(L"org.eclipse.osgi_"); });
    }

    bool isBundleListElsewhere() const {
        const bool isInIni = nativeIni.bytes.find("osgi.") != std::string::npos;
        return isInIni ||
               std::any_of(reading.values.begin(), reading.values.end(), [](const ExpandedValue& value) {
                   const std::wstring line = value.key + L"=" + value.text;
                   return line.find(L"osgi.bundles") != std::wstring::npos ||
                          line.find(L"osgi.framework") != std::wstring::npos ||
                          line.find(L"osgi.sharedConfiguration") != std::wstring::npos;
               });
    }

    void checkMark(const std::string& key) {
        const bool isKey = !key.empty() && key.front() != '#' && key.front() != '!';
        const bool isFatal = key == "osgi.bundles";
        add(rules::byteOrderMark, isFatal ? Severity::error : (isKey ? Severity::warning : Severity::note),
            reading.configIni.path, 1, "the file begins with a byte-order mark",
            isFatal ? "It becomes part of the first key, so the framework does not find osgi.bundles: no "
                      "platform comes up, although the launcher ends with 0."
            : isKey ? "It becomes part of the first key, so the framework does not find " + key + "."
                    : "To the framework the first line is a key of its own, which does no harm.",
            "Save the file without a byte-order mark (\"UTF-8 without BOM\" or ASCII).");
    }

    // As the launcher puts it into the command; empty if there is none.
    std::wstring nativeLauncher() const {
        std::wstring program;
        if (reading.isDirectJavaStart) {
            return program;
        }
        world.machine->run({launcherPath(options)}, [&] {
            zellauncher::PropertyList user;
            for (const ExpandedValue& value : reading.values) {
                user.push_back({value.key, value.text});
            }
            zellauncher::resetLaunchCommand();
            zellauncher::appendLauncherProgram(user, listOf(reading.launcherProperties.entries));
            program = zellauncher::launchCommand;
            return 0;
        });
        std::erase_if(program, [](wchar_t unit) { return unit == L'"' || unit == L'\0'; });
        return program;
    }

    static zellauncher::PropertyList listOf(const Entries& entries) {
        zellauncher::PropertyList list;
        for (const zellauncher::PropertyEntry& entry : entries) {
            list.push_back(entry);
        }
        return list;
    }
};

}  // namespace

void checkOtherEncodings(const InstallReading& reading, const StartOptions& options, const World& world,
                         Findings& findings) {
    EncodingCheck(reading, options, world, findings).run();
}

}  // namespace explain
