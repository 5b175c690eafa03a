#include "explain/check/check.h"

#include <algorithm>
#include <tuple>

#include "explain/check/encoding_checks.h"
#include "explain/check/install_reading.h"
#include "explain/check/key_checks.h"
#include "explain/check/layout_checks.h"
#include "explain/check/release_checks.h"
#include "explain/check/rules.h"
#include "explain/check/start_checks.h"
#include "explain/check/text_checks.h"
#include "explain/check/value_checks.h"
#include "explain/encoding.h"
#include "launch/entry.h"
#include "simulation/machine.h"
#include "simulation/program_files.h"

namespace explain {

namespace {

void checkTexts(const InstallReading& reading, const StartOptions& options, Findings& findings) {
    const auto check = [&](const InstallFile& file, Appended appended) {
        checkPropertyText(toUtf8(installName(options, file.path)), file, appended, findings);
    };
    const bool makesIdentity =
        reading.kind == zellauncher::InstallConfigurationKind::userpb &&
        std::none_of(reading.launcherProperties.entries.begin(), reading.launcherProperties.entries.end(),
                     [](const auto& entry) { return entry.key == L"zel.install.id"; });
    check(reading.launcherProperties, makesIdentity ? Appended::identity : Appended::nothing);
    check(reading.userTemplate, Appended::linesOfACopy);
    check(reading.jvmProperties, Appended::nothing);
}

// Nothing else can be said about such files.
bool hasUtf16(const InstallReading& reading) {
    return isUtf16(reading.launcherProperties.bytes) || isUtf16(reading.userTemplate.bytes) ||
           isUtf16(reading.jvmProperties.bytes);
}

void checkFiles(const InstallReading& reading, const StartOptions& options, Findings& findings) {
    const World world = buildWorld(options);
    checkTexts(reading, options, findings);
    checkOtherEncodings(reading, options, world, findings);
    if (hasUtf16(reading)) {
        return;
    }
    checkTemplates(reading, options, world, findings);
    checkKeys(reading, options, findings);
    checkValues(reading, options, findings);
}

constexpr std::uint64_t longestStartMilliseconds = 60'000;

// Starts a small install without a mistake at the path, so that no mistake of the checked one ends the start
// before.
bool isRefusedAt(const std::wstring& install) {
    const std::wstring launcher = install + L"\\zel\\zellauncher.exe";
    simulation::Machine machine;
    machine.makeDrive(install.front());
    const auto write = [&](const wchar_t* name, const std::string& content) {
        machine.writeFile(install + name, content);
    };
    write(L"\\zel\\zellauncher.exe", simulation::smallestProgramFile());
    write(L"\\zel\\zellauncher.properties",
          "zel.install.id=1\ninstall.configuration=user\nzel.data=C:/zelexplain\n"
          "zel.base.location=${zel.home}/base\njvm.location=${zel.home}/jvm/bin/javaw.exe\n");
    write(L"\\zel\\deploy\\jvm.properties", "");
    write(L"\\base\\zelinstall.properties",
          "plugincustomization=${zel.home}/base/config.ini\nXbootclasspath.append=\n");
    write(L"\\base\\config.ini", "");
    write(L"\\base\\win32\\x86_64\\eclipse.exe", simulation::smallestProgramFile());
    const simulation::ProcessId process = machine.start({launcher}, [] { return zellauncher::wmain(); });
    machine.setModule(process, launcher);
    const std::optional<simulation::ProcessEnd> end = machine.waitFor(process, longestStartMilliseconds);
    if (!end) {
        machine.stop(process);
    }
    return end && end->kind == simulation::EndKind::accessViolation;
}

void checkFrameworkPath(const StartOptions& options, Findings& findings) {
    if (isRefusedAt(options.install.path)) {
        findings.push_back(
            {rules::frameworkPath,
             Severity::error,
             "",
             0,
             "the path of the install does not contain framework: " + toUtf8(options.install.path),
             "Every start ends with the status of an access violation.",
             "Install below a directory named framework.",
             {"ZELLauncher> no framework"}});
    }
}

bool isSame(const Finding& left, const Finding& right) {
    return left.rule == right.rule && left.file == right.file && left.line == right.line &&
           left.text == right.text;
}

void sortFindings(Findings& findings) {
    std::stable_sort(findings.begin(), findings.end(), [](const Finding& left, const Finding& right) {
        return std::tie(left.file, left.line, left.rule) < std::tie(right.file, right.line, right.rule);
    });
    findings.erase(std::unique(findings.begin(), findings.end(), isSame), findings.end());
}

}  // namespace

CheckResult checkInstall(const StartOptions& options, const std::optional<std::string>& previous) {
    CheckResult result;
    Findings& findings = result.findings;
    if (checkLayout(options, findings)) {
        checkFrameworkPath(options, findings);
        StartOptions complete = options;
        complete.arguments.clear();
        checkVariables(complete, findings);
        const InstallReading reading = readInstall(complete);
        checkFiles(reading, complete, findings);
        if (reading.launcherProperties.exists && !hasUtf16(reading)) {
            result.commandLength = checkStarts(reading, complete, findings);
        }
        if (previous) {
            checkPreviousRelease(reading, complete, *previous, findings);
        }
    }
    sortFindings(findings);
    return result;
}

Findings findingsFor(const StartOptions& options, const World& world, const Explanation& start) {
    Findings findings;
    if (checkLayout(options, findings)) {
        StartOptions complete = options;
        checkVariables(complete, findings);
        const InstallReading reading = readInstall(complete);
        checkFiles(reading, complete, findings);
        if (start.role == Role::mainProcess && !start.elements.empty()) {
            checkCommand(reading, complete, world, start, findings);
        }
    }
    std::erase_if(findings, [](const Finding& finding) { return finding.severity == Severity::note; });
    sortFindings(findings);
    return findings;
}

}  // namespace explain
