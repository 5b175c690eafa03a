#include "properties/property_reader.h"

#include <cstddef>
#include <string_view>

#include "foundation/log_channel.h"
#include "foundation/sourced_text.h"
#include "foundation/text_stream.h"

namespace zellauncher {

namespace {

constexpr std::size_t plainLineLimit = 1000;

// One logical line, which may consist of several physical lines.
struct LogicalLine {
    std::wstring key;
    std::wstring value;
    bool inValue = false;        // a separator has ended the key
    bool continued = false;      // the next physical line continues this one
    bool jvmOptionLine = false;  // a line such as -Xoption:value keeps its separator
    bool isBegun = false;
    [[no_unique_address]] FilePosition begin;
};

bool isSeparator(wchar_t unit) {
    return unit == L'\t' || unit == L' ' || unit == L':' || unit == L'=';
}

bool losesItsBackslash(wchar_t unit) {
    return unit == L' ' || unit == L'#' || unit == L':' || unit == L'=';
}

bool isTooLong(const std::wstring& line) {
    return !line.starts_with(L"arg") && line.size() > plainLineLimit;
}

// Appends one character to the key or the value; in a value, two backslashes are one character.
// Returns the number of further characters consumed.
std::size_t appendCharacter(LogicalLine& logical, const std::wstring& line, std::size_t position,
                            bool& valueStarted) {
    if (!logical.inValue) {
        logical.key += line[position];
        return 0;
    }
    const bool isPair = line[position] == L'\\' && line[position + 1] == L'\\';
    if (isPair) {
        logical.value += L'\\';
    }
    logical.continued = false;
    valueStarted = true;
    logical.value += line[position];
    return isPair ? 1 : 0;
}

// Where the characters from `begin` on end that are taken as they are.
std::size_t plainEnd(const std::wstring& line, std::size_t begin, bool valueStarted) {
    std::size_t end = begin;
    while (end < line.size() && line[end] != L'\\' && line[end] != L'\r' &&
           (valueStarted || !isSeparator(line[end]))) {
        ++end;
    }
    return end;
}

void appendPlain(LogicalLine& logical, std::wstring_view text, bool& valueStarted) {
    if (!logical.inValue) {
        logical.key += text;
        return;
    }
    logical.continued = false;
    valueStarted = true;
    logical.value += text;
}

void appendLine(LogicalLine& logical, const std::wstring& line) {
    if (!logical.isBegun && line.size() >= 2) {
        logical.jvmOptionLine = line.starts_with(L"-X");
    }
    logical.isBegun = true;
    bool valueStarted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (const std::size_t end = plainEnd(line, i, valueStarted); end > i) {
            appendPlain(logical, std::wstring_view(line).substr(i, end - i), valueStarted);
            i = end - 1;
            continue;
        }
        if (line[i] == L'\\' && i + 1 == line.size()) {
            logical.continued = true;
            break;
        }
        if (line[i] == L'\\' && losesItsBackslash(line[i + 1])) {
            ++i;
        }
        if (line[i] == L'\r') {
            continue;  // only a line feed ends a line
        }
        if (!valueStarted && isSeparator(line[i])) {
            logical.inValue = true;
            if (logical.jvmOptionLine) {
                logical.value += line[i];
            }
            continue;
        }
        i += appendCharacter(logical, line, i, valueStarted);
    }
}

// Required oddities: the key arg20 never has a value, and a line of one character keeps jvmOptionLine of the
// line before.
void finishLine(PropertyList& list, LogicalLine& logical) {
    trimSpaces(logical.key);
    logDebugF(L"ZLNCH0023I:   attrib = \"%s\"", logical.key);
    unescapeValue(logical.value);
    if (logical.key == L"arg20") {
        logical.value.clear();
    }
    appendEntry(list, logical.key, atLine(logical.begin, logical.key, logical.value));
    logDebugF(L"ZLNCH0024I:   value  = \"%s\"", logical.value);
    logical.key.clear();  // both keep their memory for the next line
    logical.value.clear();
    logical.inValue = false;
    logical.isBegun = false;
}

void logFailedReading(const std::wstring& path) {
    const ForcedLog forced;
    logDebugF(L"ZELLauncher> reading \"%s\" failed before its end", path);
}

}  // namespace

void loadPropertyFile(const std::wstring& path, PropertyList& list) {
    TextStream file = openFile(path, "r");
    if (file.stream == nullptr) {
        logFatalF("ZLNCH0096E: Unable to load %ls file!", path);
    }
    rewindTextStream(file);
    LogicalLine logical;
    std::wstring line;
    while (!atEnd(file) && scanLine(file, LineBlanks::skipLeading, line) != ScanResult::endOfData) {
        logDebugF(L"ZLNCH0032I: Prop Line = \"%s\"", line);
        if (isTooLong(line)) {
            logDebug(
                "ZLNCH0032I: Skipping line as it does not meet the criteria, length check reduced to 1000 "
                "chars ");
            continue;
        }
        if (line.starts_with(L'#')) {
            continue;
        }
        if (!logical.isBegun) {
            logical.begin = file.position;
        }
        appendLine(logical, line);
        if (!logical.continued) {
            finishLine(list, logical);
        }
    }
    if (file.hasFailed) {
        logFailedReading(path);
    }
    closeTextStream(file);
}

}  // namespace zellauncher
