#include "properties/arguments.h"

#include <algorithm>
#include <iterator>

#include "foundation/explanation.h"

namespace zellauncher {

#ifdef ZELLAUNCHER_SIMULATION
Arguments::Arguments(const std::vector<std::wstring>& commandLine) {
    for (const std::wstring& text : commandLine) {
        SourcedText argument = text;
        argument.source = std::make_shared<const Source>(Source{Source::Kind::argument, {}, size(), text});
        push_back(argument);
    }
}
#endif

namespace {

// The end if no argument after the program is the text.
Arguments::const_iterator findArgument(const std::wstring& text, const Arguments& arguments) {
    const auto first = arguments.empty() ? arguments.begin() : std::next(arguments.begin());
    return std::find(first, arguments.end(), text);
}

}  // namespace

int findArgumentIndex(const std::wstring& text, const Arguments& arguments) {
    const auto found = findArgument(text, arguments);
    return found == arguments.end() ? -1 : static_cast<int>(std::distance(arguments.begin(), found));
}

bool hasArgument(const std::wstring& text, const Arguments& arguments) {
    return findArgument(text, arguments) != arguments.end();
}

const SourcedText* argumentAfter(const std::wstring& option, const Arguments& arguments) {
    const auto found = findArgument(option, arguments);
    const bool hasValue = found != arguments.end() && std::next(found) != arguments.end();
    const SourcedText* value = hasValue ? &*std::next(found) : nullptr;
    explainArgument(option, value);
    return value;
}

void removeSecondOccurrence(Arguments& arguments, const std::wstring& text) {
    int occurrences = 0;
    const auto second = std::find_if(arguments.begin(), arguments.end(), [&](const std::wstring& argument) {
        return argument == text && ++occurrences == 2;
    });
    if (second != arguments.end()) {
        arguments.erase(second);
    }
}

}  // namespace zellauncher
