#include <algorithm>
#include <cwchar>

#include "configuration/user_install_properties.h"
#include "fuzz/launcher_runner.h"
#include "fuzz/peak_memory.h"
#include "fuzz/printable.h"
#include "fuzz/reference_lines.h"
#include "fuzz/target.h"
#include "properties/property_reader.h"

// The input is a property file. The launcher's reader must give the same entries as a second reader, which
// is written from the description of the dialect and shares no code with the first.
namespace fuzz {

namespace {

using zellauncher::PropertyEntry;
using zellauncher::PropertyList;

constexpr const wchar_t* file = L"C:\\in.properties";
constexpr std::size_t longestPlainLine = 1000;

// Bounds: a fixed part for the simulated machine, and a part for each byte of the file. Most of it is for
// debug lines: each line of a file writes up to three of them to the log.
constexpr std::size_t machineBytes = 400'000;
constexpr std::size_t bytesPerByte = 500;
constexpr std::size_t machineOperations = 60;
constexpr std::size_t operationsPerByte = 4;

PropertyList load(LauncherRunner& runner, const std::string& bytes) {
    PropertyList list;
    runner.machine.writeFile(file, bytes);
    const launchertest::Outcome outcome = runner.run([&] { zellauncher::loadPropertyFile(file, list); });
    const simulation::ProcessEnd end = outcome.processEnd();
    expect(end.kind == simulation::EndKind::exited && end.status == 0, "no property file is fatal");
    return list;
}

std::wstring unescaped(const std::wstring& value) {
    std::wstring plain;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != L'\\') {
            plain += value[i];
        } else if (i + 1 < value.size() && value[i + 1] == L'u') {
            const std::wstring digits = value.substr(i + 2, 4);
            plain += static_cast<wchar_t>(std::wcstol(digits.c_str(), nullptr, 16) & 0xFFFF);
            i += 1 + digits.size();
        } else if (i + 1 < value.size()) {
            plain += value[++i];
        }
    }
    const std::wstring text = trimBlanks(plain);
    return text.substr(0, text.find(L'\0'));
}

// The second reader takes the file line by line and each line character by character.
class SecondReader {
public:
    void takeLine(const std::wstring& line) {
        const bool isSkipped = line.size() > longestPlainLine && !line.starts_with(L"arg");
        if (isSkipped || line.starts_with(L"#")) {
            return;
        }
        if (isFresh && line.size() > 1) {
            isJvmOption = line.starts_with(L"-X");
        }
        isFresh = false;
        hasValueBegun = false;
        for (std::size_t i = 0; i < line.size();) {
            i += takeAt(line, i);
        }
        if (!isContinued) {
            finish();
        }
    }

    PropertyList list;

private:
    // Returns the number of characters taken.
    std::size_t takeAt(const std::wstring& line, std::size_t i) {
        if (line[i] != L'\\') {
            takeCharacter(line[i]);
            return 1;
        }
        if (i + 1 == line.size()) {
            isContinued = true;
            return 1;
        }
        if (std::wstring_view(L" #:=").find(line[i + 1]) != std::wstring_view::npos) {
            takeCharacter(line[i + 1]);
            return 2;
        }
        takeCharacter(L'\\');
        if (isInValue && line[i + 1] == L'\\') {
            takeCharacter(L'\\');
            return 2;
        }
        return 1;
    }

    void takeCharacter(wchar_t unit) {
        const bool isSeparator = std::wstring_view(L"\t :=").find(unit) != std::wstring_view::npos;
        if (unit == L'\r') {
            return;
        }
        if (isSeparator && !hasValueBegun) {
            isInValue = true;
            value.append(isJvmOption ? 1 : 0, unit);
        } else if (isInValue) {
            isContinued = false;
            hasValueBegun = true;
            value += unit;
        } else {
            key += unit;
        }
    }

    void finish() {
        const std::wstring name = trimBlanks(key);
        list.push_back({name, name == L"arg20" ? std::wstring() : unescaped(value)});
        key.clear();
        value.clear();
        isInValue = false;
        isFresh = true;
    }

    std::wstring key;
    std::wstring value;
    bool isInValue = false;
    bool hasValueBegun = false;
    bool isContinued = false;
    bool isJvmOption = false;
    bool isFresh = true;
};

PropertyList readAgain(const std::string& bytes) {
    SecondReader reader;
    for (const std::wstring& line : referenceLines(bytes, LeadingSpace::skipped)) {
        reader.takeLine(line);
    }
    return reader.list;
}

void expectSame(const PropertyList& list, const PropertyList& expected) {
    expect(list.size() == expected.size(),
           "the second reader finds as many entries: " + std::to_string(list.size()) + " and " +
               std::to_string(expected.size()));
    for (std::size_t i = 0; i < std::min(list.size(), expected.size()); ++i) {
        expect(list[i].key == expected[i].key,
               "the key " + printable(list[i].key) + " should be " + printable(expected[i].key));
        expect(list[i].value == expected[i].value,
               "the value " + printable(list[i].value) + " should be " + printable(expected[i].value));
    }
}

void expectSound(const PropertyList& list, std::size_t size) {
    std::size_t length = 0;
    for (const PropertyEntry& entry : list) {
        length += entry.key.size() + entry.value.size();
        for (const wchar_t unit : entry.key + entry.value) {
            expect(unit != 0 && unit <= 0xFFFF, "a unit has 16 bits and is not NUL");
        }
    }
    expect(length <= size, "the entries are not longer than the file");
}

// The same input after comments, so that some byte of it begins a block of the reader.
std::string acrossBlocks(const std::string& bytes) {
    constexpr std::size_t blockSize = 16384;
    std::size_t first = 0;
    for (const char byte : bytes) {
        first = first * 31 + static_cast<unsigned char>(byte);
    }
    std::string moved;
    while (moved.size() < blockSize - first % (bytes.size() + 1)) {
        moved += "# comment\r\n";
    }
    moved.resize(blockSize - first % (bytes.size() + 1));
    moved.back() = '\n';
    return moved + bytes;
}

// A value that the launcher writes is read back unchanged, unless it begins with a separator, which no
// backslash can protect there.
void expectRoundTrip(const PropertyList& list) {
    constexpr std::size_t longestValue = 150;  // a line has room for six characters each
    constexpr std::size_t mostValues = 50;
    std::string written;
    PropertyList expected;
    for (const PropertyEntry& entry : list) {
        const std::size_t first = entry.value.find_first_not_of(L' ');
        const bool isLost =
            first == std::wstring::npos || entry.value[first] == L':' || entry.value[first] == L'=';
        if (isLost || entry.value.size() > longestValue || expected.size() == mostValues) {
            continue;
        }
        const std::wstring line = zellauncher::escapeEntry(L"key", entry.value);
        written.append(line.begin(), line.end());
        written += "\r\n";
        expected.push_back({L"key", trimBlanks(entry.value)});
    }
    LauncherRunner runner;
    expectSame(load(runner, written), expected);
}

}  // namespace

void runInput(const std::string& bytes) {
    const std::string moved = acrossBlocks(bytes);
    PropertyList list;
    const PeakMemory memory;
    {
        LauncherRunner runner;
        list = load(runner, bytes);
        expect(runner.machine.operationCount() <= machineOperations + operationsPerByte * bytes.size(),
               "operations are bounded by the file: " + std::to_string(runner.machine.operationCount()));
    }
    expect(memory.bytes() <= machineBytes + bytesPerByte * bytes.size(),
           "memory is bounded by the file: " + std::to_string(memory.bytes()));
    expectSound(list, bytes.size());
    expectSame(list, readAgain(bytes));
    LauncherRunner runner;
    expectSame(load(runner, moved), readAgain(moved));
    expectRoundTrip(list);
}

}  // namespace fuzz
