#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <variant>

#include "explain/check/check.h"
#include "explain/check/example_install.h"
#include "explain/check/findings_writer.h"
#include "explain/check/rules.h"
#include "explain/command_line.h"

// tests/explain/installs has a file for each rule: changes of the example install, and the exact findings.
namespace {

using explaintest::ExampleInstall;
using nlohmann::json;

struct Case {
    std::string rule;
    json data;
};

std::vector<Case> readCases() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(CASES_DIRECTORY)) {
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    std::vector<Case> cases;
    for (const std::filesystem::path& path : files) {
        std::ifstream stream(path);
        for (const json& data : json::parse(stream)) {
            cases.push_back({path.stem().string(), data});
        }
    }
    return cases;
}

explain::StartOptions optionsFor(const ExampleInstall& install, const json& data) {
    std::vector<std::string> arguments = {"start"};
    for (const json& option : data.value("options", json::array())) {
        arguments.push_back(option);
    }
    arguments.push_back(install.path());
    const auto request = explain::readCommandLine(arguments);
    if (const auto* answer = std::get_if<explain::Answer>(&request)) {
        ADD_FAILURE() << answer->text;
        return {};
    }
    return std::get<explain::StartOptions>(request);
}

// Findings as the files have them, sorted.
std::multiset<std::string> expectedOf(const json& data) {
    std::multiset<std::string> all;
    for (const json& finding : data.at("findings")) {
        all.insert(
            json{finding.at("file"), finding.at("line"), finding.at("rule"), finding.at("severity")}.dump());
    }
    return all;
}

std::multiset<std::string> foundOf(const explain::Findings& findings) {
    std::multiset<std::string> all;
    for (const explain::Finding& finding : findings) {
        const json line = finding.line == 0 ? json(nullptr) : json(finding.line);
        all.insert(json{finding.file, line, finding.rule, explain::nameOf(finding.severity)}.dump());
    }
    return all;
}

explain::CheckResult check(const json& data) {
    const ExampleInstall install;
    for (const json& change : data.value("changes", json::array())) {
        install.change(change);
    }
    if (!data.contains("previousChanges")) {
        return explain::checkInstall(optionsFor(install, data), std::nullopt);
    }
    const ExampleInstall previous;
    for (const json& change : data.at("previousChanges")) {
        previous.change(change);
    }
    return explain::checkInstall(optionsFor(install, data), previous.path());
}

TEST(Check, FindsExactlyTheMistakesOfEachInstall) {
    for (const Case& each : readCases()) {
        const explain::CheckResult result = check(each.data);
        EXPECT_EQ(foundOf(result.findings), expectedOf(each.data))
            << each.rule << ": " << each.data.at("name") << "\n"
            << explain::writeFindings(result);
        for (const explain::Finding& finding : result.findings) {
            EXPECT_FALSE(finding.text.empty() || finding.consequence.empty() || finding.remedy.empty())
                << finding.rule << " " << finding.text;
            EXPECT_EQ((finding.text + " ").find("  "), std::string::npos)
                << "a part is missing: " << finding.text;
        }
    }
}

// Each rule has an install that breaks it, and only such rules are found.
TEST(Check, EveryRuleIsBrokenByAnInstall) {
    std::set<std::string> broken;
    for (const Case& each : readCases()) {
        for (const json& finding : each.data.at("findings")) {
            broken.insert(finding.at("rule"));
        }
    }
    for (const explain::Rule& rule : explain::checkRules()) {
        EXPECT_EQ(broken.count(rule.name), 1U) << rule.name;
        broken.erase(rule.name);
    }
    EXPECT_EQ(broken, std::set<std::string>());
}

TEST(Check, ExampleInstallHasNoFinding) {
    const ExampleInstall install;
    const explain::CheckResult result =
        explain::checkInstall(optionsFor(install, json::object()), std::nullopt);
    EXPECT_TRUE(result.findings.empty()) << explain::writeFindings(result);
    EXPECT_TRUE(result.commandLength);
}

}  // namespace
