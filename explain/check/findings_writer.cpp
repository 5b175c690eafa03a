#include "explain/check/findings_writer.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

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

// A value can contain what a terminal takes as a command.
std::string withEscapes(const std::string& text) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string escaped;
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto unit = static_cast<unsigned char>(text[i]);
        const unsigned char next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
        const bool isHighControl = unit == 0xC2 && next >= 0x80 && next < 0xA0;
        if (unit >= 0x20 && unit != 0x7F && !isHighControl) {
            escaped += text[i];
            continue;
        }
        if (isHighControl) {
            unit = next;
            ++i;
        }
        escaped += "\\u00";
        escaped += digits[unit >> 4U];
        escaped += digits[unit & 0xFU];
    }
    return escaped;
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

std::string findingPlace(const Finding& finding) {
    const std::string file = finding.file.empty() ? "install" : finding.file;
    return finding.line == 0 ? file : file + ":" + std::to_string(finding.line);
}

std::string findingText(const Finding& finding) {
    return withEscapes(findingPlace(finding) + ": " + nameOf(finding.severity) + ": " + finding.text + " [" +
                       finding.rule + "]");
}

std::string writeFindings(const CheckResult& result) {
    std::string text;
    for (const Finding& finding : result.findings) {
        text += findingText(finding) + "\n";
        if (!finding.consequence.empty()) {
            text += "    " + withEscapes(finding.consequence) + "\n";
        }
        text += "    " + withEscapes(finding.remedy) + "\n";
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
