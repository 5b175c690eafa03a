#include "properties/property_reader.h"

#include <cstddef>
#include <string>
#include <string_view>

#include "foundation/byte_scan.h"
#include "foundation/log_channel.h"
#include "foundation/sourced_text.h"
#include "foundation/text.h"
#include "foundation/text_stream.h"

namespace zellauncher {

namespace {

constexpr std::size_t plainLineLimit = 1000;

// One logical line, which may consist of several physical lines. Its characters are bytes.
struct LogicalLine {
    std::string key;
    std::string value;
    bool inValue = false;        // a separator has ended the key
    bool continued = false;      // the next physical line continues this one
    bool jvmOptionLine = false;  // a line such as -Xoption:value keeps its separator
    bool isBegun = false;
    [[no_unique_address]] FilePosition begin;
};

bool isSeparator(char character) {
    return character == '\t' || character == ' ' || character == ':' || character == '=';
}

bool losesItsBackslash(char character) {
    return character == ' ' || character == '#' || character == ':' || character == '=';
}

bool isTooLong(std::string_view line) {
    return line.size() > plainLineLimit && !line.starts_with("arg");
}

// Appends one character to the key or the value; in a value, two backslashes are one character.
// Returns the number of further characters consumed.
std::size_t appendCharacter(LogicalLine& logical, std::string_view line, std::size_t position,
                            bool& valueStarted) {
    if (!logical.inValue) {
        logical.key += line[position];
        return 0;
    }
    const bool isPair = line[position] == '\\' && line[position + 1] == '\\';
    if (isPair) {
        logical.value += '\\';
    }
    logical.continued = false;
    valueStarted = true;
    logical.value += line[position];
    return isPair ? 1 : 0;
}

// Where the characters from `begin` on end that are taken as they are.
std::size_t plainEnd(std::string_view line, std::size_t begin, bool valueStarted) {
    const std::string_view rest = line.substr(begin);
    return begin +
           (valueStarted ? findAny<'\\', '\r'>(rest) : findAny<'\\', '\r', '\t', ' ', ':', '='>(rest));
}

void appendPlain(LogicalLine& logical, std::string_view text, bool& valueStarted) {
    if (!logical.inValue) {
        logical.key += text;
        return;
    }
    logical.continued = false;
    valueStarted = true;
    logical.value += text;
}

void appendLine(LogicalLine& logical, std::string_view line) {
    if (!logical.isBegun && line.size() >= 2) {
        logical.jvmOptionLine = line.starts_with("-X");
    }
    logical.isBegun = true;
    bool valueStarted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (const std::size_t end = plainEnd(line, i, valueStarted); end > i) {
            appendPlain(logical, line.substr(i, end - i), valueStarted);
            i = end - 1;
            continue;
        }
        if (line[i] == '\\' && i + 1 == line.size()) {
            logical.continued = true;
            break;
        }
        if (line[i] == '\\' && losesItsBackslash(line[i + 1])) {
            ++i;
        }
        if (line[i] == '\r') {
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

void storeEntry(PropertyList& list, LogicalLine& logical) {
    const TextSource source = sourceAt(logical.begin, logical.key);
    if (unescapeBytes(logical.value)) {
        list.append(logical.key, logical.value, source);
        logDebugF(L"ZLNCH0024I:   value  = \"%s\"", logical.value);
        return;
    }
    std::wstring value = widen(logical.value);
    unescapeValue(value);
    list.append(widen(logical.key), withSource(source, value));
    logDebugF(L"ZLNCH0024I:   value  = \"%s\"", value);
}

// Required oddities: the key arg20 never has a value, and a line of one character keeps jvmOptionLine of the
// line before.
void finishLine(PropertyList& list, LogicalLine& logical) {
    trimSpaces(logical.key);
    logDebugF(L"ZLNCH0023I:   attrib = \"%s\"", logical.key);
    if (logical.key == "arg20") {
        logical.value.clear();
    }
    storeEntry(list, logical);
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
    std::string_view line;
    while (!atEnd(file) && scanLine(file, LineBlanks::skipLeading, line) != ScanResult::endOfData) {
        logDebugF(L"ZLNCH0032I: Prop Line = \"%s\"", line);
        if (isTooLong(line)) {
            logDebug(
                "ZLNCH0032I: Skipping line as it does not meet the criteria, length check reduced to 1000 "
                "chars ");
            continue;
        }
        if (line.starts_with('#')) {
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
