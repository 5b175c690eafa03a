#include "javalaunch/argument_expansion.h"

#include <algorithm>
#include <map>
#include <optional>

#include "fuzz/input_sections.h"
#include "fuzz/launcher_runner.h"
#include "fuzz/peak_memory.h"
#include "fuzz/printable.h"
#include "fuzz/target.h"
#include "launch/argument_screening.h"

// The input is a command line and the configurations of zellauncher.properties. The effective arguments must
// be those of a second expansion, and the screening must refuse exactly the arguments that it has to refuse.
namespace fuzz {

namespace {

using zellauncher::Arguments;
using zellauncher::PropertyList;
using Overrides = zellauncher::VmargOverrides;

constexpr std::size_t mostArguments = 200;

struct Expansion {
    Arguments arguments;
    Overrides overrides;
    std::optional<std::wstring> data;  // the new value of zel.data
};

// Moves the overrides out of the arguments; false if one has no value.
bool moveOverrides(Arguments& arguments, Overrides& overrides) {
    bool hasValues = true;
    const auto isOverride = [](const std::wstring& argument) {
        return argument.compare(0, 6, L"vmarg.") == 0;
    };
    for (const std::wstring& argument : arguments) {
        const std::size_t separator = argument.find(L'=');
        if (isOverride(argument) && hasValues) {
            hasValues = separator != std::wstring::npos;
            if (hasValues) {
                overrides.insert({argument.substr(0, separator), argument.substr(separator + 1)});
            }
        }
    }
    std::erase_if(arguments, isOverride);
    return hasValues;
}

void eraseSecond(Arguments& arguments, const std::wstring& argument) {
    auto found = std::find(arguments.begin(), arguments.end(), argument);
    found = found == arguments.end() ? found : std::find(found + 1, arguments.end(), argument);
    if (found != arguments.end()) {
        arguments.erase(found);
    }
}

std::vector<std::wstring> configuredValues(const std::wstring& name, const PropertyList& list) {
    std::vector<std::wstring> values;
    for (int n = 1;; ++n) {
        const std::wstring key = L"config." + name + L"." + std::to_wstring(n);
        const auto found =
            std::find_if(list.begin(), list.end(), [&](const auto& entry) { return entry.key == key; });
        if (found == list.end()) {
            return values;
        }
        values.push_back(found->value);
    }
}

// Inserts the configured arguments at the place, and those from a configured `-vmargs` on at the end. A place
// below 0 sends all to the end.
Arguments insertConfigured(Arguments arguments, std::ptrdiff_t place,
                           const std::vector<std::wstring>& values) {
    Arguments atPlace;
    Arguments atEnd;
    bool isAfterVmargs = place < 0;
    for (const std::wstring& value : values) {
        if (value == L"-vmargs" && place >= 0) {
            isAfterVmargs = true;
        } else if (!value.empty()) {
            (isAfterVmargs ? atEnd : atPlace).push_back(value);
        }
    }
    arguments.insert(arguments.begin() + std::max<std::ptrdiff_t>(place, 0), atPlace.begin(), atPlace.end());
    arguments.insert(arguments.end(), atEnd.begin(), atEnd.end());
    return arguments;
}

std::optional<Expansion> expandAgain(const Arguments& arguments, const PropertyList& list, bool hasMarker) {
    Expansion expansion;
    Arguments plain = arguments;
    if (!moveOverrides(plain, expansion.overrides)) {
        return std::nullopt;
    }
    const auto config = std::find(arguments.begin() + 1, arguments.end(), L"-config");
    if (config == arguments.end() || config + 1 == arguments.end()) {
        if (hasMarker) {
            plain.insert(plain.begin() + 1, {L"-debugFile", L"-pb4l", L"-debug", L"-console"});
            for (const wchar_t* option : {L"-console", L"-debug", L"-pb4l"}) {
                eraseSecond(plain, option);
            }
        }
        expansion.arguments = plain;
        return expansion;
    }
    std::ptrdiff_t place = -1;
    Arguments effective;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        if (argument == config || argument == config + 1) {
            continue;
        }
        if (*argument == L"-vmargs") {
            place = std::max<std::ptrdiff_t>(argument - arguments.begin() - 2, -1);
        }
        effective.push_back(*argument);
    }
    effective = insertConfigured(effective, place, configuredValues(*(config + 1), list));
    for (const wchar_t* option :
         {L"-vm", L"-data", L"-plugincustomization", L"-application", L"-product", L"-personality",
          L"-product", L"-nl", L"-dir", L"-console", L"-debug", L"-pb4l"}) {
        eraseSecond(effective, option);
    }
    const auto data =
        effective.empty() ? effective.end() : std::find(effective.begin() + 1, effective.end(), L"-data");
    if (data != effective.end() && data + 1 != effective.end()) {
        expansion.data = *(data + 1);
    }
    if (!moveOverrides(effective, expansion.overrides)) {
        return std::nullopt;
    }
    expansion.arguments = effective;
    return expansion;
}

std::string printableArguments(const Arguments& arguments) {
    std::string text;
    for (const std::wstring& argument : arguments) {
        text += "[" + printable(argument) + "] ";
    }
    return text;
}

// True without -maxargcnt, or if its value is the number of arguments.
bool hasDeclaredCount(const Arguments& arguments) {
    const auto option = std::find(arguments.begin() + 1, arguments.end(), L"-maxargcnt");
    if (option == arguments.end()) {
        return true;
    }
    const std::wstring value = option + 1 == arguments.end() ? L"" : *(option + 1);
    std::wstring digits = value.substr(0, value.find_first_not_of(L"0123456789"));
    digits.erase(0, std::min(digits.find_first_not_of(L'0'), digits.size()));
    const bool isRestart = std::find(arguments.begin() + 1, arguments.end(), L"-restart") != arguments.end();
    const std::size_t expected = arguments.size() - (isRestart ? 1 : 0);
    return digits == (expected == 0 ? L"" : std::to_wstring(expected));
}

void expectScreened(LauncherRunner& runner, const Arguments& arguments) {
    bool isAllowed = hasDeclaredCount(arguments);
    for (const std::wstring& argument : arguments) {
        for (const wchar_t* refused : {L"\"", L"jvm.library.path", L"java.library.path", L"java.home"}) {
            isAllowed = isAllowed && argument.find(refused) == std::wstring::npos;
        }
    }
    const launchertest::Outcome outcome = runner.runQuietly([&] {
        zellauncher::checkUrlHandlerArgs(arguments);
        zellauncher::checkDoubleQuotes(arguments);
        zellauncher::checkForbiddenArgs(arguments);
    });
    expect(outcome.isFatal() != isAllowed,
           "exactly the forbidden arguments are refused: " + printableArguments(arguments));
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    Arguments arguments = decodeLines(sections["words"]);
    arguments.resize(std::min(arguments.size(), mostArguments));
    arguments.insert(arguments.begin(), L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe");
    PropertyList list = decodeEntries(sections["configurations"]);
    const PropertyList before = list;
    const bool hasMarker = sections.count("marker") != 0;

    Arguments effective;
    zellauncher::VmargOverrides overrides;
    const PeakMemory memory;
    LauncherRunner runner;
    if (hasMarker) {
        runner.machine.writeFile(L"C:\\Apps\\framework\\Client\\zel\\prov.debug\\debug.txt", "");
    }
    const launchertest::Outcome outcome = runner.runQuietly([&] {
        effective = zellauncher::expandConfiguredArguments(arguments, list, overrides,
                                                           L"C:\\Apps\\framework\\Client");
    });
    expect(runner.machine.operationCount() <= 100, "the expansion only looks for the marker file");
    expect(memory.bytes() <= 600'000 + 200 * bytes.size(),
           "memory is bounded by the arguments: " + std::to_string(memory.bytes()));

    const std::optional<Expansion> expected = expandAgain(arguments, before, hasMarker);
    expect(outcome.isFatal() != expected.has_value(), "only an override without a value is fatal");
    if (expected && !outcome.isFatal()) {
        expect(effective == expected->arguments,
               printableArguments(effective) + "should be " + printableArguments(expected->arguments));
        expect(overrides == expected->overrides, "the overrides are those of the second expansion");
        const std::wstring* data = zellauncher::lookupProperty(L"zel.data", list);
        expect(data == nullptr || !expected->data || *data == *expected->data,
               "zel.data has the value of -data");
    }
    expectScreened(runner, arguments);
}

}  // namespace fuzz
