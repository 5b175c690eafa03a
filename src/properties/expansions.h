#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

// What values expand to, remembered while the values of a list are substituted. A value that many others
// name is scanned once, so that the time follows from the length of the results and not from the number of
// ways in which values name each other.
namespace zellauncher {

// A value after the scan of its own tokens.
struct Expansion {
    std::wstring text;
    std::ptrdiff_t position = 0;           // where the scan ended, relative to the text's first character
    int replacementsBeforeMove = 0;        // how many were made before the first one that moved left
    std::size_t firstProperty = SIZE_MAX;  // the first property it was made from that is not final yet
};

class Expansions {
public:
    // The expansion of a name, or null.
    const Expansion* find(const std::wstring& name) const;

    // Remembers the expansion, except a long one if there are many: how often those can be scanned again is
    // bounded by the growth of a text.
    void add(const std::wstring& name, Expansion expansion);

    // The properties before this position have their final values. Expansions that were made from a value
    // that has become final since are not found any more.
    void setFinalProperties(std::size_t count) { finalProperties = count; }

    bool isFinal(std::size_t property) const { return property < finalProperties; }

    // By how many characters a text may still grow. Longer texts would leave no memory for the rest of the
    // start.
    std::size_t growthOfNextText() const { return std::min(mostGrowthOfText, growth); }
    void addGrowth(std::size_t count) { growth -= std::min(growth, count); }

    // Each replacement gets a debug line, and an expansion that is inserted at once skips some. So they are
    // not used until this many lines are in the log.
    bool areReplacementsLogged() const { return loggedReplacements < mostLoggedReplacements; }
    void countLoggedReplacement() { ++loggedReplacements; }

private:
    static constexpr std::size_t mostGrowthOfText = 50'000'000;
    static constexpr std::size_t mostGrowth = 100'000'000;
    static constexpr int mostLoggedReplacements = 10'000;

    std::unordered_map<std::wstring, Expansion> expansions;
    std::size_t finalProperties = 0;
    std::size_t characters = 0;
    std::size_t growth = mostGrowth;
    int loggedReplacements = 0;
};

// The values whose tokens a scan is replacing, each brought in by a token of the one before.
class OpenExpansions {
public:
    // A token at `start` was replaced by the value. False if the value is open so often within itself that it
    // expands without end.
    bool open(const std::wstring& name, std::size_t start, std::size_t charactersAfter, std::size_t property,
              const Expansions& known);

    // A replacement was made in the innermost value. `count` of them did not move the scan to the left.
    void addReplacements(int count);
    void moveLeft() { firstBeforeMove = values.size(); }
    void addProperty(std::size_t property, const Expansions& known);

    bool empty() const { return values.empty(); }
    std::size_t innermostStart() const { return values.back().start; }
    std::size_t charactersAfter() const { return values.back().charactersAfter; }

    // Closes the innermost value, whose text has been scanned to this position.
    void close(std::wstring text, std::ptrdiff_t position, Expansions& known);
    void clear();

private:
    struct Value {
        std::wstring name;
        std::size_t start;
        std::size_t charactersAfter;
        Expansion expansion;
    };

    std::vector<Value> values;
    std::unordered_map<std::wstring, int> timesOpen;
    std::size_t firstBeforeMove = 0;  // the values from here on have seen no move to the left
};

}  // namespace zellauncher
