#include "properties/arguments.h"

#include <algorithm>
#include <cstddef>
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

int findArgumentIndex(const std::wstring& text, const Arguments& arguments) {
    if (arguments.size() < 2) {
        return -1;
    }
    const auto found = std::find(std::next(arguments.begin()), arguments.end(), text);
    return found == arguments.end() ? -1 : static_cast<int>(std::distance(arguments.begin(), found));
}

bool hasArgument(const std::wstring& text, const Arguments& arguments) {
    return findArgumentIndex(text, arguments) >= 0;
}

const SourcedText* argumentAfter(const std::wstring& option, const Arguments& arguments) {
    const int index = findArgumentIndex(option, arguments);
    const std::size_t next = static_cast<std::size_t>(index) + 1;
    const SourcedText* value = index >= 0 && next < arguments.size() ? &arguments[next] : nullptr;
    explainArgument(option, value);
    return value;
}

void removeSecondOccurrence(Arguments& arguments, const std::wstring& text) {
    const auto first = std::find(arguments.begin(), arguments.end(), text);
    if (first == arguments.end()) {
        return;
    }
    const auto second = std::find(std::next(first), arguments.end(), text);
    if (second != arguments.end()) {
        arguments.erase(second);
    }
}

}  // namespace zellauncher
