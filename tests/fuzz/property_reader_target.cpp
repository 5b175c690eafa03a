#include <algorithm>
#include <cwchar>

#include "configuration/user_install_properties.h"
#include "fuzz/allocation_account.h"
#include "fuzz/bench.h"
#include "fuzz/target.h"
#include "fuzz/text_lines.h"
#include "properties/property_reader.h"

// The input is a property file. What the launcher's reader makes of it must be what a second reader
// makes of it, which is written from the description of the dialect and shares nothing with the first.
namespace fuzz {

namespace {

using zellauncher::PropertyEntry;
using zellauncher::PropertyList;

constexpr const wchar_t* file = L"C:\\in.properties";
constexpr std::size_t longestPlainLine = 1000;

// Bounds: bytes for the machine itself, and bytes and operations for each byte of the file. The debug
// lines make most of it: each line of a file gives up to three of them, which reach the log.
constexpr std::size_t machineBytes = 400'000;
constexpr std::size_t bytesForByte = 500;
constexpr std::size_t machineOperations = 60;
constexpr std::size_t operationsForByte = 4;

PropertyList load(Bench& bench, const std::string& bytes) {
    PropertyList list;
    bench.machine.writeFile(file, bytes);
    const launchertest::Outcome outcome = bench.run([&] { zellauncher::loadPropertyFile(file, list); });
    expect(outcome.end.kind == simulation::EndKind::exited && outcome.end.status == 0, "a file is read");
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
    const std::wstring text = trimmed(plain);
    return text.substr(0, text.find(L'\0'));
}

// The second reader: a machine that is fed line by line, character by character.
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
        if (!goesOn) {
            finish();
        }
    }

    PropertyList list;

private:
    // How many characters were taken.
    std::size_t takeAt(const std::wstring& line, std::size_t i) {
        if (line[i] != L'\\') {
            takeCharacter(line[i]);
            return 1;
        }
        if (i + 1 == line.size()) {
            goesOn = true;
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
            goesOn = false;
            hasValueBegun = true;
            value += unit;
        } else {
            key += unit;
        }
    }

    void finish() {
        const std::wstring name = trimmed(key);
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
    bool goesOn = false;
    bool isJvmOption = false;
    bool isFresh = true;
};

PropertyList readAgain(const std::string& bytes) {
    SecondReader reader;
    for (const std::wstring& line : readLines(bytes, true)) {
        reader.takeLine(line);
    }
    return reader.list;
}

void expectSame(const PropertyList& list, const PropertyList& expected) {
    expect(list.size() == expected.size(),
           "as many entries as the second reader finds: " + std::to_string(list.size()) + " against " +
               std::to_string(expected.size()));
    for (std::size_t i = 0; i < std::min(list.size(), expected.size()); ++i) {
        expect(list[i].key == expected[i].key,
               "the key " + printable(list[i].key) + " is " + printable(expected[i].key));
        expect(list[i].value == expected[i].value,
               "the value " + printable(list[i].value) + " is " + printable(expected[i].value));
    }
}

void expectSound(const PropertyList& list, std::size_t size) {
    std::size_t length = 0;
    for (const PropertyEntry& entry : list) {
        length += entry.key.size() + entry.value.size();
        for (const wchar_t unit : entry.key + entry.value) {
            expect(unit != 0 && unit <= 0xFFFF, "a unit is one of sixteen bits and no NUL");
        }
    }
    expect(length <= size, "the entries hold no more than the file");
}

// What the launcher writes as a value comes back as that value, unless it begins with a separator: no
// backslash protects one there.
void expectRoundTrip(const PropertyList& list) {
    constexpr std::size_t longestValue = 150;  // six characters each still fit a line
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
        std::wstring line;
        zellauncher::escapeEntry(L"key", entry.value, line);
        written.append(line.begin(), line.end());
        written += "\r\n";
        expected.push_back({L"key", trimmed(entry.value)});
    }
    Bench bench;
    expectSame(load(bench, written), expected);
}

}  // namespace

void runInput(const std::string& bytes) {
    PropertyList list;
    const AllocationAccount account;
    {
        Bench bench;
        list = load(bench, bytes);
        expect(bench.machine.operationCount() <= machineOperations + operationsForByte * bytes.size(),
               "operations are bounded by the file: " + std::to_string(bench.machine.operationCount()));
    }
    expect(account.peakBytes() <= machineBytes + bytesForByte * bytes.size(),
           "memory is bounded by the file: " + std::to_string(account.peakBytes()));
    expectSound(list, bytes.size());
    expectSame(list, readAgain(bytes));
    expectRoundTrip(list);
}

}  // namespace fuzz
