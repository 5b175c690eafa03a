#include "explain/check/findings_writer.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "explain/check/findings_json.h"
#include "explain/check/rules.h"
#include "explain/check/start_checks.h"

namespace explain {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t ruleColumn = 24;

std::string countText(const Findings& findings, Severity severity) {
    const auto count = std::count_if(findings.begin(), findings.end(),
                                     [&](const Finding& finding) { return finding.severity == severity; });
    return std::to_string(count) + " " + nameOf(severity) + (count == 1 ? "" : "s");
}

std::string placeText(const Finding& finding) {
    const std::string file = finding.file.empty() ? "install" : finding.file;
    return finding.line == 0 ? file : file + ":" + std::to_string(finding.line);
}

}  // namespace

const char* nameOf(Severity severity) {
    switch (severity) {
        case Severity::error:
            return "error";
        case Severity::warning:
            return "warning";
        case Severity::note:
            break;
    }
    return "note";
}

std::string findingText(const Finding& finding) {
    return placeText(finding) + ": " + nameOf(finding.severity) + ": " + finding.text + " [" + finding.rule +
           "]";
}

std::string writeFindings(const CheckResult& result) {
    std::string text;
    for (const Finding& finding : result.findings) {
        text += findingText(finding) + "\n";
        if (!finding.consequence.empty()) {
            text += "    " + finding.consequence + "\n";
        }
        text += "    " + finding.remedy + "\n";
    }
    text += countText(result.findings, Severity::error) + ", " +
            countText(result.findings, Severity::warning) + ", " +
            countText(result.findings, Severity::note) + ".\n";
    if (result.commandLength) {
        const std::size_t length = *result.commandLength;
        text +=
            "The command has " + std::to_string(length) + " of " + std::to_string(longestCommand) +
            " characters" +
            (length > longestCommand ? "" : "; " + std::to_string(longestCommand - length) + " are left") +
            ".\n";
    }
    return text;
}

std::string writeFindingsJson(const Findings& findings) {
    Json json = {{"findings", findingsJson(findings)}};
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string writeRules() {
    std::string text;
    for (const Rule& rule : checkRules()) {
        std::string name = rule.name;
        name.resize(std::max(name.size() + 1, ruleColumn), ' ');
        text += name + rule.explanation + "\n";
    }
    return text;
}

}  // namespace explain
