#include "explain/check/config_ini.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "explain/encoding.h"

namespace explain {

namespace {

constexpr std::string_view blanks = " \t\f";

class ConfigIniReader {
public:
    explicit ConfigIniReader(const std::string& bytes) : text(bytes) {}

    std::vector<ConfigIniEntry> run() {
        std::vector<ConfigIniEntry> entries;
        while (position < text.size()) {
            std::string line = nextLine();
            const std::size_t number = lines;
            if (line.empty() || line.front() == '#' || line.front() == '!') {
                continue;
            }
            while (endsInEscape(line) && position < text.size()) {
                line.pop_back();
                line += nextLine();
            }
            entries.push_back(entryOf(line, number));
        }
        return entries;
    }

private:
    const std::string& text;
    std::size_t position = 0;
    std::size_t lines = 0;  // that were read

    // A physical line without the blanks at its beginning.
    std::string nextLine() {
        const std::size_t end = std::min(text.find_first_of("\r\n", position), text.size());
        std::string line = text.substr(position, end - position);
        position = end + (text.compare(end, 2, "\r\n") == 0 ? 2 : 1);
        ++lines;
        line.erase(0, std::min(line.find_first_not_of(blanks), line.size()));
        return line;
    }

    static bool endsInEscape(const std::string& line) {
        const std::size_t last = line.find_last_not_of('\\');
        const std::size_t backslashes = last == std::string::npos ? line.size() : line.size() - last - 1;
        return backslashes % 2 == 1;
    }

    static ConfigIniEntry entryOf(const std::string& line, std::size_t number) {
        std::size_t end = 0;
        while (end < line.size() && line[end] != '=' && line[end] != ':' && !isBlank(line[end])) {
            end += line[end] == '\\' ? 2U : 1U;
        }
        end = std::min(end, line.size());
        std::size_t begin = std::min(line.find_first_not_of(blanks, end), line.size());
        if (begin < line.size() && (line[begin] == '=' || line[begin] == ':')) {
            begin = std::min(line.find_first_not_of(blanks, begin + 1), line.size());
        }
        return {withoutEscapes(line.substr(0, end)), withoutEscapes(line.substr(begin)), number, line};
    }

    static bool isBlank(char letter) { return blanks.find(letter) != std::string_view::npos; }

    static std::string withoutEscapes(const std::string& escaped) {
        std::string plain;
        for (std::size_t i = 0; i < escaped.size(); ++i) {
            if (escaped[i] != '\\' || i + 1 == escaped.size()) {
                plain += escaped[i];
                continue;
            }
            ++i;
            constexpr std::size_t digits = 4;
            const std::string_view code = std::string_view(escaped).substr(i + 1, digits);
            if (escaped[i] == 'u' && isHexadecimal(code) && code.size() == digits) {
                plain += characterOf(code);
                i += digits;
            } else {
                plain += controlCharacterOf(escaped[i]);
            }
        }
        return plain;
    }

    static char controlCharacterOf(char letter) {
        constexpr std::string_view letters = "tnrf";
        const std::size_t found = letters.find(letter);
        return found != std::string_view::npos ? "\t\n\r\f"[found] : letter;
    }

    static bool isHexadecimal(std::string_view text) {
        return text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
    }

    static std::string characterOf(std::string_view digits) {
        unsigned unit = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), unit, 16);
        return toUtf8(std::wstring(1, static_cast<wchar_t>(unit)));
    }
};

std::string_view withoutBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

std::string_view firstPart(std::string_view text) {
    return withoutBlanks(text.substr(0, text.find(':')));
}

// The name of a file may contain @.
std::size_t endOfBundleName(std::string_view written) {
    std::size_t at = written.find('@');
    const bool isFile = written.find_first_of("/\\:") < at;
    while (isFile && at != std::string_view::npos) {
        const std::string_view part = firstPart(written.substr(at + 1));
        if ((isStartLevel(part) && !part.empty()) || part.starts_with("start")) {
            break;
        }
        at = written.find('@', at + 1);
    }
    return std::min(at, written.size());
}

ConfiguredBundle bundleOf(std::string_view written) {
    const std::size_t end = endOfBundleName(written);
    ConfiguredBundle bundle{std::string(written), std::string(withoutBlanks(written.substr(0, end))), {}};
    for (std::string_view rest = written.substr(end); !rest.empty();) {
        rest.remove_prefix(1);
        bundle.start.emplace_back(firstPart(rest));
        rest.remove_prefix(std::min(rest.find(':'), rest.size()));
    }
    return bundle;
}

}  // namespace

std::vector<ConfigIniEntry> readConfigIni(const std::string& bytes) {
    return ConfigIniReader(bytes).run();
}

const ConfigIniEntry* findConfigIniEntry(const std::vector<ConfigIniEntry>& entries, const std::string& key) {
    const auto found = std::find_if(entries.rbegin(), entries.rend(),
                                    [&](const ConfigIniEntry& entry) { return entry.key == key; });
    return found != entries.rend() ? &*found : nullptr;
}

std::vector<ConfiguredBundle> readBundles(const std::string& list) {
    std::vector<ConfiguredBundle> bundles;
    for (std::size_t begin = 0; begin < list.size();) {
        const std::size_t end = std::min(list.find(',', begin), list.size());
        bundles.push_back(bundleOf(withoutBlanks(std::string_view(list).substr(begin, end - begin))));
        begin = end + 1;
    }
    return bundles;
}

bool isStartLevel(std::string_view text) {
    return text.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace explain
