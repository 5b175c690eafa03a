#include "explain/check/check_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <variant>

#include "explain/check/check.h"
#include "explain/check/findings_writer.h"
#include "explain/check/rules.h"
#include "explain/command_line.h"

namespace explain {

namespace {

constexpr int withWarnings = 1;
constexpr int withErrors = 2;

struct CheckTexts {
    std::string install;
    std::vector<std::string> at;
    std::vector<std::string> maps;
    std::vector<std::string> environment;
    std::vector<std::string> unset;
    std::vector<std::string> user;
    std::vector<std::string> administrator;
    std::vector<std::string> allowed;
    std::string previous;
    bool isJson = false;
    bool isRules = false;
};

void print(std::FILE* stream, const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stream);
}

int refuse(const std::string& reason) {
    print(stderr, "zelexplain: " + reason + "\n");
    return notExplained;
}

void addList(CLI::App& app, const std::string& name, std::vector<std::string>& texts,
             const std::string& description, const std::string& type) {
    app.add_option(name, texts, description)->type_name(type)->expected(1)->take_all();
}

void declare(CLI::App& app, CheckTexts& texts) {
    app.add_option("INSTALL", texts.install, "The directory that holds zel/");
    app.add_flag("--json", texts.isJson, "Print JSON");
    app.add_flag("--rules", texts.isRules, "List the rules and end");
    addList(app, "--allow", texts.allowed, "Leave the findings of a rule out (repeatable)", "RULE");
    app.add_option("--previous", texts.previous, "The install of the last release")->type_name("DIR");
    addList(app, "--at", texts.at, "As for start", "PATH");
    addList(app, "--map", texts.maps, "As for start (repeatable)", "DIR=PATH");
    addList(app, "--env", texts.environment, "As for start (repeatable)", "NAME=VALUE");
    addList(app, "--unset", texts.unset, "As for start (repeatable)", "NAME");
    addList(app, "--user", texts.user, "As for start", "NAME");
    addList(app, "--administrator", texts.administrator, "As for start", "yes|no");
    app.footer(
        "The exit status is 0 if there is nothing above a note, 1 with warnings, 2 with errors, and 3 if\n"
        "the check could not be done.");
}

// The machine is described as for `start`, so that command line's reader understands it.
std::variant<StartOptions, Answer> machineOf(const CheckTexts& texts) {
    std::vector<std::string> arguments = {"start"};
    const auto add = [&](const char* option, const std::vector<std::string>& values) {
        for (const std::string& value : values) {
            arguments.push_back(std::string(option) + "=" + value);
        }
    };
    add("--at", texts.at);
    add("--map", texts.maps);
    add("--env", texts.environment);
    add("--unset", texts.unset);
    add("--user", texts.user);
    add("--administrator", texts.administrator);
    arguments.push_back(texts.install);
    return readCommandLine(arguments);
}

int statusOf(const Findings& findings) {
    const auto worst = std::max_element(
        findings.begin(), findings.end(),
        [](const Finding& left, const Finding& right) { return left.severity < right.severity; });
    if (worst == findings.end() || worst->severity == Severity::note) {
        return explained;
    }
    return worst->severity == Severity::error ? withErrors : withWarnings;
}

int check(const CheckTexts& texts) {
    for (const std::string& rule : texts.allowed) {
        if (!isRule(rule)) {
            return refuse("--allow needs a rule of --rules: " + rule);
        }
    }
    if (texts.install.empty()) {
        return refuse("INSTALL is required");
    }
    const std::variant<StartOptions, Answer> machine = machineOf(texts);
    if (const Answer* answer = std::get_if<Answer>(&machine)) {
        print(stderr, answer->text);
        return notExplained;
    }
    const std::optional<std::string> previous =
        texts.previous.empty() ? std::nullopt : std::optional(texts.previous);
    CheckResult result = checkInstall(std::get<StartOptions>(machine), previous);
    std::erase_if(result.findings, [&](const Finding& finding) {
        return std::find(texts.allowed.begin(), texts.allowed.end(), finding.rule) != texts.allowed.end();
    });
    print(stdout, texts.isJson ? writeFindingsJson(result.findings) : writeFindings(result));
    return statusOf(result.findings);
}

}  // namespace

int runCheck(const std::vector<std::string>& arguments) {
    CLI::App app("Finds the mistakes in an install before it ships.", "zelexplain check");
    CheckTexts texts;
    declare(app, texts);
    try {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        app.parse(reversed);
        if (texts.isRules) {
            print(stdout, writeRules());
            return explained;
        }
        return check(texts);
    } catch (const CLI::CallForHelp&) {
        print(stdout, app.help());
        return explained;
    } catch (const std::exception& error) {
        return refuse(error.what());
    }
}

}  // namespace explain
