#include "explain/check/text_checks.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "configuration/install_identity.h"
#include "configuration/install_kind.h"
#include "explain/catalogue.h"
#include "explain/check/key_checks.h"
#include "explain/check/rules.h"
#include "explain/encoding.h"
#include "explain/property_files.h"
#include "foundation/byte_scan.h"
#include "simulation/machine.h"

namespace explain {

namespace {

using zellauncher::PropertyEntry;

constexpr char endMark = '\x1A';            // Ctrl-Z, which ends a file in text mode
constexpr std::size_t suspectLength = 500;  // shorter lines are never too long
constexpr std::size_t shownLength = 60;

bool isBlank(char letter) {
    return letter == ' ' || (letter >= '\t' && letter <= '\r');
}

bool isHexDigit(char letter) {
    return (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'f') ||
           (letter >= 'A' && letter <= 'F');
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// For a message: the beginning, without what a terminal cannot show.
std::string shown(std::string_view text) {
    std::string beginning;
    for (const char letter : trimmed(text).substr(0, shownLength)) {
        beginning += static_cast<unsigned char>(letter) < 0x20 ? '?' : letter;
    }
    return logLineToUtf8(beginning) + (text.size() > shownLength ? "..." : "");
}

struct Line {
    std::string_view text;  // without its end
    bool isRemark = false;
    bool isEmpty = false;
    std::size_t first = 0;  // number of the first line of the logical one
};

bool endsInBackslash(std::string_view text) {
    std::size_t count = 0;
    while (count < text.size() && text[text.size() - 1 - count] == '\\') {
        ++count;
    }
    return count % 2 == 1;
}

std::vector<Line> linesOf(std::string_view bytes) {
    std::vector<Line> lines;
    for (std::size_t begin = 0; begin < bytes.size();) {
        const std::size_t end = std::min(bytes.find('\n', begin), bytes.size());
        std::string_view text = bytes.substr(begin, end - begin);
        if (text.ends_with('\r')) {
            text.remove_suffix(1);
        }
        const std::string_view content = trimmed(text);
        lines.push_back({text, content.starts_with('#') || content.starts_with('!'), content.empty(), 0});
        begin = end + 1;
    }
    return lines;
}

// Key and value of `key=value` as a packager reads it.
std::string_view keyBefore(std::string_view text, std::string_view separators) {
    const std::string_view content = trimmed(text);
    return trimmed(content.substr(0, std::min(content.find_first_of(separators), content.size())));
}

// The launcher makes an identity, appends it to a file of these bytes, and reads the file again.
bool isAppendedIdentityFound(const std::string& bytes) {
    constexpr const wchar_t* path = L"C:\\texts\\zellauncher.properties";
    simulation::Machine machine;
    machine.writeFile(path, bytes);
    bool isFound = false;
    machine.run({L"C:\\texts\\launcher"}, [&] {
        zellauncher::PropertyList list = {{L"install.configuration", std::wstring(L"userpb")}};
        zellauncher::readInstallConfiguration(list);
        zellauncher::resolveInstallId(path, list);
        const Entries entries = loadEntries(path);
        isFound = std::any_of(entries.begin(), entries.end(),
                              [](const PropertyEntry& entry) { return entry.key == L"zel.install.id"; });
        return 0;
    });
    return isFound;
}

class TextCheck {
public:
    TextCheck(const std::string& fileName, const InstallFile& checked, Appended added, Findings& all)
        : name(fileName), file(checked), appended(added), findings(all) {}

    void run() {
        if (isUtf16(file.bytes)) {
            add(rules::utf16, Severity::error, 1, "the file is UTF-16",
                "The launcher reads one byte as one character, so it finds none of the keys.",
                "Save the file as plain ASCII, with \\uXXXX for other characters.");
            findings.back().messages = {"ZLNCH"};
            return;
        }
        isIdentityLost = appended == Appended::identity && !isAppendedIdentityFound(file.bytes);
        checkMark();
        const std::size_t end = file.bytes.find(endMark);
        lines = linesOf(std::string_view(file.bytes).substr(0, end));
        findFirstLines();
        checkEndMark(end);
        checkLineEnds();
        for (std::size_t number = 1; number <= lines.size(); ++number) {
            checkLine(number);
        }
        checkLongLines();
        checkContinuations();
        checkLastLine();
        checkFinalNewline();
        checkBackslashes();
        for (const PropertyEntry& entry : file.entries) {
            checkEntry(entry);
        }
    }

private:
    const std::string& name;
    const InstallFile& file;
    const Appended appended;
    Findings& findings;
    bool isIdentityLost = false;  // the launcher appends it, but does not find it afterwards
    std::vector<Line> lines;      // up to a Ctrl-Z

    void add(const char* rule, Severity severity, std::size_t line, std::string text, std::string consequence,
             std::string remedy) {
        findings.push_back(
            {rule, severity, name, line, std::move(text), std::move(consequence), std::move(remedy), {}});
    }

    const Line& line(std::size_t number) const { return lines[number - 1]; }

    std::size_t lineAt(std::size_t position) const {
        const auto end = file.bytes.begin() + static_cast<std::ptrdiff_t>(position);
        return 1 + static_cast<std::size_t>(std::count(file.bytes.begin(), end, '\n'));
    }

    static std::size_t lineOf(const PropertyEntry& entry) {
        return entry.value.source ? entry.value.source->line : 0;
    }

    // Which line the launcher begins an entry with says where the others belong.
    void findFirstLines() {
        std::size_t next = 0;
        std::size_t current = 0;
        for (std::size_t number = 1; number <= lines.size(); ++number) {
            const bool isBegin = next < file.entries.size() && lineOf(file.entries[next]) == number;
            if (isBegin) {
                current = number;
                ++next;
            }
            const bool isOwn = isBegin || current == 0 || line(number).isRemark || line(number).isEmpty ||
                               !isContinued(number);
            lines[number - 1].first = isOwn ? number : current;
        }
    }

    // The last line before this one that is neither empty nor a remark ends in a backslash.
    bool isContinued(std::size_t number) const {
        while (--number > 0) {
            const Line& before = line(number);
            if (!before.isEmpty && !trimmed(before.text).starts_with('#')) {
                return endsInBackslash(before.text);
            }
        }
        return false;
    }

    void checkMark() {
        if (!file.bytes.starts_with(utf8Mark)) {
            return;
        }
        const std::string_view first =
            std::string_view(file.bytes).substr(utf8Mark.size(), file.bytes.find('\n'));
        const std::string key(keyBefore(first.substr(0, first.find('\n')), "=: \t"));
        const bool isKey = lookUpKey(key) != nullptr;
        add(rules::byteOrderMark, isKey ? Severity::error : Severity::warning, 1,
            "the file begins with a byte-order mark",
            isKey ? "It becomes part of the first key, so the launcher does not find " + key + "."
                  : "It becomes part of the first line, which the launcher reads as a key of its own.",
            "Save the file without a byte-order mark (\"UTF-8 without BOM\" or ASCII).");
        findings.back().messages = {"ZLNCH0016E", "ZLNCH0050E: zel.base", "ZLNCH0008E"};
    }

    void checkEndMark(std::size_t end) {
        if (end == std::string::npos) {
            return;
        }
        const std::string_view rest = std::string_view(file.bytes).substr(end + 1);
        const bool isLast = std::all_of(rest.begin(), rest.end(),
                                        [](char letter) { return isBlank(letter) || letter == endMark; });
        const std::size_t number = lineAt(end);
        if (isLast && isIdentityLost && !rest.empty()) {
            add(rules::ctrlZ, Severity::error, number, "there is a Ctrl-Z (0x1A) before the end of the file",
                "The launcher appends zel.install.id after it and never reads it, so every start makes "
                "another identity.",
                "Remove the character.");
            return;
        }
        add(rules::ctrlZ, isLast ? Severity::note : Severity::error, number,
            isLast ? "the file ends with a Ctrl-Z (0x1A)" : "there is a Ctrl-Z (0x1A) in the file",
            isLast ? "The launcher stops there, as meant." : "The launcher ignores everything after it.",
            "Remove the character.");
        if (!isLast) {
            findings.back().messages = {"ZLNCH0016E", "ZLNCH0050E", "ZLNCH0008E"};
        }
    }

    void checkLineEnds() {
        for (std::size_t number = 1; number <= lines.size(); ++number) {
            const std::size_t lone = line(number).text.find('\r');
            if (lone != std::string::npos && lone + 1 < line(number).text.size() && !line(number).isRemark) {
                add(rules::lineEnd, Severity::warning, number,
                    "a carriage return without a line feed is in the line",
                    "It does not end the line: what follows belongs to the same line.",
                    "Save the file with Windows line ends (CR LF) or line feeds.");
                return;
            }
            if (lone != std::string::npos && line(number).isRemark && hidesKey(line(number).text)) {
                add(rules::lineEnd, Severity::warning, number,
                    "a carriage return without a line feed is in a remark",
                    "It does not end the line: what follows belongs to the remark.",
                    "Save the file with Windows line ends (CR LF) or line feeds.");
                return;
            }
        }
    }

    // Whether an entry follows a carriage return of a remark.
    bool hidesKey(std::string_view remark) const {
        for (std::size_t end = remark.find('\r'); end != std::string_view::npos; end = remark.find('\r')) {
            remark.remove_prefix(end + 1);
            if (!keyOfOwnEntry(remark.substr(0, remark.find('\r'))).empty()) {
                return true;
            }
        }
        return false;
    }

    void checkLine(std::size_t number) {
        const Line& checked = line(number);
        if (checked.isRemark) {
            checkRemark(number);
            return;
        }
        if (checked.text.find('\0') != std::string_view::npos) {
            add(rules::nulByte, Severity::warning, checked.first, "a NUL byte is in the line",
                "The launcher ignores the rest of the line.", "Remove the byte.");
        }
        std::string_view content = checked.text;
        if (number == 1 && content.starts_with(utf8Mark)) {
            content.remove_prefix(utf8Mark.size());
        }
        if (!zellauncher::isAscii(content)) {
            addNonAscii(checked);
        }
    }

    void addNonAscii(const Line& checked) {
        if (isUtf8(checked.text)) {
            add(rules::nonAscii, Severity::warning, checked.first, "the line has characters in UTF-8",
                "The launcher reads one byte as one character, so each of them becomes two or more others.",
                "Write \\uXXXX for each of these characters.");
        } else {
            add(rules::nonAscii, Severity::note, checked.first, "the line has bytes above 0x7F",
                "The launcher reads them as ISO 8859-1.", "If something else is meant, write \\uXXXX.");
        }
    }

    void checkRemark(std::size_t number) {
        const bool isExclamation = trimmed(line(number).text).starts_with('!');
        if (isExclamation && !endsInBackslash(line(number).text)) {
            add(rules::exclamationRemark, Severity::note, number, "the line begins with an exclamation mark",
                "To the launcher it is a key named !, which does no harm.", "Begin remarks with #.");
        }
    }

    // A line alone is one entry to the launcher, with the key of its beginning. A skipped one is none, and of
    // a split one other entries remain.
    void checkLongLines() {
        std::vector<std::size_t> numbers;
        std::vector<std::string> texts;
        for (std::size_t number = 1; number <= lines.size(); ++number) {
            if (line(number).text.size() > suspectLength) {
                std::string text(line(number).text);
                if (endsInBackslash(text)) {
                    text.back() = 'x';  // alone, the line is not continued, but as long
                }
                numbers.push_back(number);
                texts.push_back(text.substr(0, suspectLength));
                texts.push_back(std::move(text));
            }
        }
        const std::vector<Entries> read = readAsPropertyFiles(texts);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            addIfTooLong(numbers[i], read[2 * i], read[2 * i + 1]);
        }
    }

    void addIfTooLong(std::size_t number, const Entries& beginning, const Entries& whole) {
        const Line& checked = line(number);
        const bool isWhole =
            whole.size() == 1 && beginning.size() == 1 && whole[0].key.starts_with(beginning[0].key);
        const std::string length = std::to_string(checked.text.size()) + " characters";
        if (checked.isRemark) {
            if (!whole.empty() && !isWhole) {
                add(rules::longLine, Severity::warning, number, "the remark has " + length,
                    "The launcher reads what follows the first 2024 as a line of its own.",
                    "Divide the remark into shorter lines.");
            }
        } else if (!isWhole && checked.text.find('\0') == std::string_view::npos) {
            add(rules::longLine, Severity::error, checked.first, "a line has " + length,
                whole.empty()
                    ? "The launcher skips a line of more than 1000 characters, and says so only with "
                      "-debug."
                    : "The launcher skips the first 2024 characters and reads the rest as lines of "
                      "their own.",
                "End lines with a backslash before 1000 characters and continue the value on the next one.");
            findings.back().messages = {"ZLNCH0016E", "ZLNCH0050E", "ZLNCH0008E"};
        }
    }

    // The key of a line that was probably meant as an entry of its own; empty if it was not. An option of the
    // JVM needs no value.
    std::string keyOfOwnEntry(std::string_view text) const {
        const std::string_view content = trimmed(text);
        const bool isOption = content.starts_with("-D") || content.starts_with("-X");
        if (!isOption && content.find('=') == std::string_view::npos) {
            return {};
        }
        const std::string key(keyBefore(content, isOption ? "=: \t" : "="));
        const std::string known =
            appended == Appended::linesOfACopy ? toUtf8(withoutSystem(fromUtf8(key))) : key;
        return lookUpKey(known) != nullptr ? key : std::string();
    }

    void checkContinuations() {
        for (std::size_t number = 1; number <= lines.size(); ++number) {
            const Line& checked = line(number);
            if (checked.isEmpty) {
                continue;
            }
            const std::string_view withoutEnd = trimmed(checked.text);
            const bool isBroken = !checked.isRemark && withoutEnd.size() != checked.text.size() &&
                                  endsInBackslash(withoutEnd) && number < lines.size() &&
                                  checked.text.ends_with(' ');
            if (isBroken) {
                add(rules::continuation, Severity::warning, checked.first,
                    "a blank follows the backslash at the end of line " + std::to_string(number),
                    "The line is not continued: the next one is an entry of its own.",
                    "Remove what follows the backslash.");
            }
            const std::string key = checked.first != number ? keyOfOwnEntry(checked.text) : std::string();
            if (!key.empty()) {
                add(rules::continuation, Severity::error, checked.first,
                    "the backslash before line " + std::to_string(number) +
                        " joins it: " + shown(checked.text),
                    "The launcher reads it as part of the value before it, so it does not find " + key + ".",
                    "Write forward slashes in paths, or end the value without a backslash.");
                findings.back().messages = {"ZLNCH0016E", "ZLNCH0050E", "ZLNCH0008E"};
            }
        }
    }

    // An entry whose last line continues is never finished; in a template it takes what is appended.
    void checkLastLine() {
        std::size_t last = lines.size();
        while (last > 0 && (line(last).isEmpty || trimmed(line(last).text).starts_with('#'))) {
            --last;
        }
        if (last == 0 || !endsInBackslash(line(last).text)) {
            return;
        }
        add(rules::continuation, Severity::error, line(last).first,
            "the last line of the file ends in a backslash",
            appended == Appended::linesOfACopy
                ? "The first line that the launcher appends to a user's copy, zel.install.id, becomes part "
                  "of it."
            : appended == Appended::identity
                ? "The line that the launcher appends, zel.install.id, becomes part of it, and every start "
                  "makes another identity."
                : "The launcher waits for another line and drops the whole entry.",
            "Remove the backslash.");
        findings.back().messages = {"ZLNCH0016E", "ZLNCH0050E", "ZLNCH0008E", "ZLNCH0005E"};
    }

    // The launcher's append replaces a Ctrl-Z that is the last byte.
    void checkFinalNewline() {
        std::string_view text = file.bytes;
        text.remove_suffix(text.ends_with(endMark) ? 1 : 0);
        if (isIdentityLost && !text.ends_with('\n') && text.find(endMark) == std::string_view::npos) {
            add(rules::noFinalNewline, Severity::error, lineAt(text.size()),
                "the last line does not end, and the launcher appends zel.install.id to it",
                "The identity becomes part of the last value, and every start makes another one.",
                "End the last line.");
        }
    }

    // Doubles the backslashes that look like separators of a path; empty if there is none.
    static std::string withDoubledBackslashes(std::string_view text) {
        std::string doubled;
        bool isChanged = false;
        for (std::size_t i = 0; i < text.size(); ++i) {
            doubled += text[i];
            if (text[i] != '\\' || i + 1 >= text.size()) {
                continue;
            }
            const char next = text[i + 1];
            const bool isUnicode = next == 'u' && i + 5 < text.size() && isHexDigit(text[i + 2]) &&
                                   isHexDigit(text[i + 3]) && isHexDigit(text[i + 4]) &&
                                   isHexDigit(text[i + 5]);
            const bool isMeant = isBlank(next) || next == '#' || next == ':' || next == '=' || next == '!';
            if (next == '\\') {
                doubled += text[++i];
            } else if (!isUnicode && !isMeant) {
                doubled += '\\';
                isChanged = true;
            }
        }
        return isChanged ? doubled : std::string();
    }

    // The launcher reads the entry with such a backslash and with two. If the values differ, it was eaten.
    void checkBackslashes() {
        struct Trial {
            std::size_t line = 0;
            std::string_view text;
        };
        std::vector<Trial> trials;
        std::vector<std::string> texts;
        for (const PropertyEntry& entry : file.entries) {
            const std::size_t begin = lineOf(entry);
            if (begin == 0 || begin > lines.size()) {
                continue;
            }
            std::string whole;
            for (std::size_t number = begin; number <= lines.size() && line(number).first == begin;
                 ++number) {
                whole.append(line(number).text).append("\n");
            }
            const std::string doubled = withDoubledBackslashes(whole);
            if (!doubled.empty()) {
                trials.push_back({begin, line(begin).text});
                texts.push_back(whole);
                texts.push_back(doubled);
            }
        }
        const std::vector<Entries> read = readAsPropertyFiles(texts);
        for (std::size_t i = 0; i < trials.size(); ++i) {
            const Entries& once = read[2 * i];
            const Entries& twice = read[2 * i + 1];
            if (!once.empty() && !twice.empty() && once.front().value != twice.front().value) {
                add(rules::eatenBackslash, Severity::warning, trials[i].line,
                    "a single backslash is in the value: " + shown(trials[i].text),
                    "It is an escape and disappears: the value is \"" + toUtf8(once.front().value) + "\".",
                    "Write forward slashes in paths, or each backslash twice and none at the end.");
            }
        }
    }

    void checkEntry(const PropertyEntry& entry) {
        const std::size_t number = lineOf(entry);
        if (number == 0 || number > lines.size()) {
            return;
        }
        const std::string key = toUtf8(entry.key);
        if (!entry.value.empty() && isBlank(static_cast<char>(entry.value.back() & 0x7F)) &&
            entry.value.back() <= L' ') {
            const std::string what = entry.value.back() == L' ' ? "a blank" : "a tab";
            add(rules::trailingSpace, Severity::warning, number,
                what + " is at the end of the value of " + key, "It is part of the value.", "Remove it.");
        }
        const bool hasRemark =
            entry.value.find(L" #") != std::wstring::npos || entry.value.find(L"\t#") != std::wstring::npos;
        if (hasRemark && lookUpKey(key) != nullptr) {
            add(rules::remarkInValue, Severity::warning, number, "a remark follows the value of " + key,
                "It is part of the value: \"" + toUtf8(entry.value) + "\".",
                "Write remarks on lines of their own.");
        }
        checkSeparator(entry, number);
    }

    void checkSeparator(const PropertyEntry& entry, std::size_t number) {
        if (entry.key.empty()) {
            add(rules::emptyKey, Severity::error, number, "the line has no key: " + shown(line(number).text),
                "The launcher looks for keys with a common beginning (-D, -X, vmarg., env., resetDir., "
                "config.initial.) only before it.",
                "Write the key before the separator, or remove the line.");
            return;
        }
        const std::string_view text = trimmed(line(number).text);
        const std::size_t end = text.find_first_of("=: \t");
        if (entry.key.starts_with(L"-X") || text.starts_with('!') || end == std::string_view::npos) {
            return;
        }
        const std::size_t valueBegin = std::min(text.find_first_not_of("=: \t", end), text.size());
        const std::string_view value = text.substr(valueBegin);
        const std::size_t assignment = value.find('=');
        const bool isAssigned = text.substr(end, valueBegin - end).find('=') != std::string_view::npos;
        const bool isRestOfKey =
            assignment != std::string_view::npos && assignment > 0 &&
            std::all_of(value.begin(), value.begin() + static_cast<std::ptrdiff_t>(assignment),
                        [](char letter) {
                            return isHexDigit(letter) || (letter >= 'g' && letter <= 'z') ||
                                   (letter >= 'G' && letter <= 'Z') || letter == '.' || letter == '_' ||
                                   letter == ' ';
                        });
        if (!isAssigned && isRestOfKey) {
            add(rules::separator, Severity::warning, number,
                std::string(text[end] == ':' ? "a colon" : "a blank") + " ends the key: " + shown(text),
                "The key is \"" + toUtf8(entry.key) + "\", and its value is \"" + toUtf8(entry.value) + "\".",
                "Escape the character with a backslash, or leave it out of the key.");
        }
    }
};

}  // namespace

void checkPropertyText(const std::string& name, const InstallFile& file, Appended appended,
                       Findings& findings) {
    if (file.exists) {
        TextCheck(name, file, appended, findings).run();
    }
}

}  // namespace explain
