#include "explain/text_diff.h"

#include <algorithm>
#include <cstddef>

namespace explain {

namespace {

constexpr std::size_t mostComparisons = 4'000'000;
constexpr std::size_t contextLines = 2;

using Lines = std::vector<std::string_view>;

Lines linesOf(std::string_view text) {
    Lines lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        std::string_view line = text.substr(begin, end - begin);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        lines.push_back(line);
        begin = end + 1;
    }
    return lines;
}

// Length of the longest common subsequence of the lines from each pair of positions on.
class CommonLengths {
public:
    CommonLengths(const Lines& before, const Lines& after)
        : width(after.size() + 1), lengths((before.size() + 1) * width) {
        for (std::size_t i = before.size(); i > 0; --i) {
            for (std::size_t k = after.size(); k > 0; --k) {
                lengths[(i - 1) * width + k - 1] =
                    before[i - 1] == after[k - 1] ? at(i, k) + 1 : std::max(at(i - 1, k), at(i, k - 1));
            }
        }
    }
    std::size_t at(std::size_t before, std::size_t after) const { return lengths[before * width + after]; }

private:
    std::size_t width;
    std::vector<std::size_t> lengths;
};

std::string marked(char mark, std::string_view line) {
    return std::string(1, mark) + " " + std::string(line);
}

std::vector<std::string> allLines(const Lines& before, const Lines& after) {
    std::vector<std::string> all;
    if (before.size() * after.size() > mostComparisons) {
        for (const std::string_view line : before) {
            all.push_back(marked('-', line));
        }
        for (const std::string_view line : after) {
            all.push_back(marked('+', line));
        }
        return all;
    }
    const CommonLengths common(before, after);
    std::size_t i = 0;
    std::size_t k = 0;
    while (i < before.size() || k < after.size()) {
        if (i < before.size() && k < after.size() && before[i] == after[k]) {
            all.push_back(marked(' ', before[i]));
            ++i;
            ++k;
        } else if (k == after.size() || (i < before.size() && common.at(i + 1, k) >= common.at(i, k + 1))) {
            all.push_back(marked('-', before[i++]));
        } else {
            all.push_back(marked('+', after[k++]));
        }
    }
    return all;
}

}  // namespace

std::vector<std::string> diffOf(std::string_view before, std::string_view after) {
    const std::vector<std::string> all = allLines(linesOf(before), linesOf(after));
    std::vector<std::string> shown;
    std::size_t next = 0;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (all[i].starts_with(' ')) {
            continue;
        }
        const std::size_t begin = std::max(next, i > contextLines ? i - contextLines : 0);
        const std::size_t end = std::min(i + contextLines + 1, all.size());
        if (begin > next && next > 0) {
            shown.emplace_back("...");
        }
        shown.insert(shown.end(), all.begin() + static_cast<std::ptrdiff_t>(begin),
                     all.begin() + static_cast<std::ptrdiff_t>(std::max(begin, end)));
        next = std::max(begin, end);
    }
    return shown;
}

}  // namespace explain
