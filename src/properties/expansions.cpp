#include "properties/expansions.h"

#include <algorithm>
#include <utility>

namespace zellauncher {

namespace {

// A value that names itself without moving to the left is stopped by the scan after eleven replacements. One
// that is open twelve times will be open for ever.
constexpr int mostTimesOpen = 11;

constexpr std::size_t shortText = 4000;
constexpr std::size_t mostCharacters = 50'000'000;

}  // namespace

const Expansion* Expansions::find(const std::wstring& name) const {
    const auto found = expansions.find(name);
    return found != expansions.end() && !isFinal(found->second.firstProperty) ? &found->second : nullptr;
}

void Expansions::add(const std::wstring& name, Expansion expansion) {
    if (expansion.text.size() > shortText && characters + expansion.text.size() > mostCharacters) {
        return;
    }
    characters += expansion.text.size();
    Expansion& known = expansions[name];
    characters -= known.text.size();
    known = std::move(expansion);
}

bool OpenExpansions::open(const std::wstring& name, std::size_t start, std::size_t charactersAfter,
                          std::size_t property, const Expansions& known) {
    values.push_back({name, start, charactersAfter, {}});
    addProperty(property, known);
    return ++timesOpen[name] <= mostTimesOpen;
}

void OpenExpansions::addReplacements(int count) {
    for (std::size_t i = firstBeforeMove; i < values.size(); ++i) {
        values[i].expansion.replacementsBeforeMove += count;
    }
}

void OpenExpansions::addProperty(std::size_t property, const Expansions& known) {
    if (!values.empty() && !known.isFinal(property)) {
        Expansion& expansion = values.back().expansion;
        expansion.firstProperty = std::min(expansion.firstProperty, property);
    }
}

void OpenExpansions::close(std::wstring text, std::ptrdiff_t position, Expansions& known) {
    Value value = std::move(values.back());
    values.pop_back();
    --timesOpen[value.name];
    addProperty(value.expansion.firstProperty, known);
    value.expansion.text = std::move(text);
    value.expansion.position = position;
    known.add(value.name, std::move(value.expansion));
}

void OpenExpansions::clear() {
    *this = {};
}

}  // namespace zellauncher
