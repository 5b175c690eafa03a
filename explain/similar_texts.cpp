#include "explain/similar_texts.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "foundation/text.h"

namespace explain {

namespace {

constexpr std::size_t mostMistakes = 2;

// How many letters must be changed, added or left out to make one text of the other.
std::size_t distance(std::wstring_view left, std::wstring_view right) {
    std::vector<std::size_t> row(right.size() + 1);
    for (std::size_t i = 0; i < row.size(); ++i) {
        row[i] = i;
    }
    for (std::size_t i = 1; i <= left.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t k = 1; k <= right.size(); ++k) {
            const std::size_t replaced = diagonal + (left[i - 1] == right[k - 1] ? 0 : 1);
            diagonal = row[k];
            row[k] = std::min({replaced, row[k] + 1, row[k - 1] + 1});
        }
    }
    return row[right.size()];
}

}  // namespace

bool areSimilar(std::wstring_view left, std::wstring_view right) {
    if (zellauncher::equalIgnoringCase(left, right)) {
        return true;
    }
    const std::size_t shorter = std::min(left.size(), right.size());
    const std::size_t longer = std::max(left.size(), right.size());
    return shorter > mostMistakes * 2 && longer - shorter <= mostMistakes &&
           distance(left, right) <= mostMistakes;
}

}  // namespace explain
