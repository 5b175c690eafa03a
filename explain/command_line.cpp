#include "explain/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <stdexcept>

#include "explain/encoding.h"
#include "explain/windows_paths.h"

namespace explain {

namespace {

constexpr const char* defaultPlace = "C:\\Program Files\\framework\\Client";

// The options as the command line has them.
struct Texts {
    std::string install;
    std::string at;
    std::vector<std::string> maps;
    std::vector<std::string> environment;
    std::vector<std::string> unset;
    std::string user;
    std::string cwd;
    std::string program;
    std::string html;
    std::vector<std::string> arguments;
};

class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::pair<std::string, std::string> splitAt(const std::string& text, const char* option) {
    const std::size_t separator = text.find('=');
    if (separator == std::string::npos || separator == 0) {
        throw Refusal(std::string(option) + " needs the form " +
                      (std::string(option) == "--map" ? "DIR=PATH" : "NAME=VALUE") + ": " + text);
    }
    return {text.substr(0, separator), text.substr(separator + 1)};
}

std::wstring placeOf(const std::string& text, const char* option) {
    const std::optional<std::wstring> path = fullDrivePath(fromUtf8(text));
    if (!path) {
        throw Refusal(std::string(option) + " needs a path such as C:\\Directory: " + text);
    }
    return *path;
}

void refuseOverlaps(const StartOptions& options) {
    std::vector<std::wstring> places = {options.install.path};
    for (const Mapping& map : options.maps) {
        const auto overlapping = std::find_if(places.begin(), places.end(), [&](const std::wstring& other) {
            return isWithin(map.path, other) || isWithin(other, map.path);
        });
        if (overlapping != places.end()) {
            throw Refusal("--map " + toUtf8(map.path) + " overlaps " + toUtf8(*overlapping));
        }
        places.push_back(map.path);
    }
}

// A directory may contain `=`, but a drive path does not begin with anything else.
Mapping mappingOf(const std::string& text) {
    std::size_t separator = text.find('=');
    while (separator != std::string::npos && !fullDrivePath(fromUtf8(text.substr(separator + 1)))) {
        separator = text.find('=', separator + 1);
    }
    if (separator == std::string::npos || separator == 0) {
        throw Refusal("--map needs the form DIR=C:\\Path: " + text);
    }
    return {text.substr(0, separator), placeOf(text.substr(separator + 1), "--map")};
}

StartOptions convert(const Texts& texts, StartOptions options) {
    if (texts.install.empty()) {
        throw Refusal("INSTALL is empty");
    }
    options.install.directory = texts.install;
    options.isOwnMachine = ownMachineIsWindows && texts.at.empty();
    options.install.path = options.isOwnMachine ? ownPath(texts.install)
                                                : placeOf(texts.at.empty() ? defaultPlace : texts.at, "--at");
    std::transform(texts.maps.begin(), texts.maps.end(), std::back_inserter(options.maps), mappingOf);
    if (options.isOwnMachine && !options.maps.empty()) {
        throw Refusal("--map needs --at, because without it the machine shows this computer's drives");
    }
    refuseOverlaps(options);
    for (const std::string& text : texts.environment) {
        const auto [name, value] = splitAt(text, "--env");
        options.environment.emplace_back(fromUtf8(name), fromUtf8(value));
    }
    for (const std::string& name : texts.unset) {
        options.unsetVariables.push_back(fromUtf8(name));
    }
    if (!texts.user.empty()) {
        options.user = fromUtf8(texts.user);
    }
    if (!texts.cwd.empty()) {
        options.currentDirectory = placeOf(texts.cwd, "--cwd");
    }
    if (!texts.program.empty()) {
        options.program = fromUtf8(texts.program);
    }
    if (!texts.html.empty()) {
        options.htmlFile = texts.html;
    }
    for (const std::string& argument : texts.arguments) {
        options.arguments.push_back(fromUtf8(argument));
    }
    return options;
}

// An option that takes one of these names, and no other spelling of them.
template <typename Value>
void addChoice(CLI::App& command, const std::string& name, Value& value,
               const std::vector<std::pair<std::string, Value>>& choices, const std::string& description) {
    std::string names;
    for (const auto& choice : choices) {
        names += (names.empty() ? "" : "|") + choice.first;
    }
    const auto take = [&value, choices, name, names](const std::string& text) {
        const auto found = std::find_if(choices.begin(), choices.end(),
                                        [&](const auto& choice) { return choice.first == text; });
        if (found == choices.end()) {
            throw Refusal(name + " needs one of " + names + ": " + text);
        }
        value = found->second;
    };
    command.add_option_function<std::string>(name, take, description)->type_name(names);
}

void addYesNo(CLI::App& command, const std::string& name, bool& value, const std::string& description) {
    addChoice(command, name, value, {{"yes", true}, {"no", false}}, description);
}

}  // namespace

std::variant<StartOptions, Answer> readCommandLine(const std::vector<std::string>& arguments) {
    CLI::App app("Explains what a start of zellauncher does, without starting anything.", "zelexplain");
    app.require_subcommand(1);
    CLI::App& start = *app.add_subcommand("start", "See a start before it happens, with every reason");
    app.add_subcommand("check", "Find the mistakes in an install before it ships");
    app.add_subcommand("log", "Understand logs of the launcher");
    app.add_subcommand("reference", "Print what is known of messages, keys, options and files");
    Texts texts;
    StartOptions options;
    start.add_option("INSTALL", texts.install, "The directory that holds zel/")->required();
    start.footer("After --, the launcher's arguments.");
    start.add_option("--at", texts.at, "Where the install is on the machine")
        ->type_name("PATH")
        ->default_str(ownMachineIsWindows ? "its own path" : defaultPlace);
    start.add_option("--map", texts.maps, "Another real directory and its path on the machine (repeatable)")
        ->type_name("DIR=PATH")
        ->expected(1)
        ->take_all();
    start.add_option("--env", texts.environment, "An environment variable (repeatable)")
        ->type_name("NAME=VALUE")
        ->expected(1)
        ->take_all();
    start.add_option("--unset", texts.unset, "A variable that the environment lacks (repeatable)")
        ->type_name("NAME")
        ->expected(1)
        ->take_all();
    start.add_option("--user", texts.user, "The name of the user")->type_name("NAME");
    start.add_option("--cwd", texts.cwd, "The current directory")->type_name("PATH");
    start.add_option("--program", texts.program, "Argument 0")->type_name("PATH");
    addChoice(start, "--platform", options.platform,
              {{"none", Platform::none},
               {"running", Platform::running},
               {"ends-at-once", Platform::endsAtOnce},
               {"hangs", Platform::hangs}},
              "The platform that is running, or how the platform behaves that this start creates");
    addYesNo(start, "--administrator", options.isAdministrator, "The user is in the Administrators group");
    addYesNo(start, "--kiosk", options.isKiosk, "The logon shell is the kiosk shell");
    addYesNo(start, "--explorer", options.hasExplorer, "Explorer.exe is running");
    start.add_option("--starts", options.starts, "The same start again, on what the former one left")
        ->check(CLI::Range(1, 100))
        ->type_name("N");
    start.add_flag("--json", options.isJson, "Print JSON (docs/explain.schema.json)");
    start.add_flag("--diff", options.hasDiff, "Show what changes in text files");
    start.add_option("--html", texts.html, "Write a page to attach to a ticket")->type_name("FILE");
    start.add_flag("--redact", options.isRedacted, "Replace user names and values of the environment");
    const auto separator = std::find(arguments.begin(), arguments.end(), "--");
    if (separator != arguments.end()) {
        texts.arguments.assign(std::next(separator), arguments.end());
    }
    try {
        std::vector<std::string> own(arguments.begin(), separator);
        std::reverse(own.begin(), own.end());
        app.parse(own);
        return convert(texts, options);
    } catch (const CLI::CallForHelp&) {
        return Answer{app.help("", CLI::AppFormatMode::All), explained};
    } catch (const CLI::ParseError& error) {
        return Answer{"zelexplain: " + std::string(error.what()) + "\n", notExplained};
    } catch (const Refusal& refusal) {
        return Answer{"zelexplain: " + std::string(refusal.what()) + "\n", notExplained};
    }
}

}  // namespace explain
