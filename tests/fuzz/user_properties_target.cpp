#include <algorithm>
#include <optional>

#include "configuration/user_install_properties.h"
#include "fuzz/allocation_account.h"
#include "fuzz/bench.h"
#include "fuzz/sections.h"
#include "fuzz/target.h"
#include "fuzz/text_lines.h"
#include "properties/property_reader.h"

// The input is the installation's zelinstall.properties and what zellauncher.properties knows. The user's
// file must hold the lines that the rules of the copying keep, and nothing else, with the known lines
// behind them.
namespace fuzz {

namespace {

using zellauncher::PropertyList;

constexpr std::size_t machineBytes = 600'000;
constexpr std::size_t bytesForByte = 200;

bool goesOn(const std::wstring& line) {
    const std::size_t last = line.find_last_not_of(L'\\');
    const std::size_t backslashes = line.size() - (last == std::wstring::npos ? 1 : last + 1);
    return line.size() > 1 && backslashes % 2 == 1;
}

// Of a first line of an entry: its form in the user's file, or nothing for another system's.
std::optional<std::wstring> ownForm(const std::wstring& whole) {
    const std::size_t first = whole.find_first_not_of(L' ');
    const std::wstring line = first == std::wstring::npos ? whole : whole.substr(first);
    const std::size_t keyLength = std::min(line.find_first_of(L" :="), line.size());
    const std::size_t dot = line.substr(0, keyLength).rfind(L'.');
    if (line.starts_with(L"-D") || dot == std::wstring::npos) {
        return line;
    }
    const std::wstring qualifier = line.substr(dot + 1, keyLength - dot - 1);
    if (qualifier.starts_with(L"linux") || qualifier.starts_with(L"macosx")) {
        return std::nullopt;
    }
    return qualifier.starts_with(L"win32") ? line.substr(0, dot) + line.substr(keyLength) : line;
}

// Entry by entry: a comment alone, or a line with all that continue it.
std::vector<std::wstring> keptLines(const std::vector<std::wstring>& lines) {
    std::vector<std::wstring> kept;
    for (std::size_t i = 0; i < lines.size();) {
        if (lines[i].starts_with(L"#") || lines[i].starts_with(L"!")) {
            kept.push_back(lines[i++]);
            continue;
        }
        std::size_t end = i + 1;
        while (end < lines.size() && goesOn(lines[end - 1])) {
            ++end;
        }
        if (const std::optional<std::wstring> own = ownForm(lines[i])) {
            kept.push_back(*own);
            kept.insert(kept.end(), lines.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                        lines.begin() + static_cast<std::ptrdiff_t>(end));
        }
        i = end;
    }
    return kept;
}

std::string bytesOf(const std::vector<std::wstring>& lines) {
    std::string bytes;
    for (const std::wstring& line : lines) {
        for (const wchar_t unit : line) {
            bytes += static_cast<char>(unit);
        }
        bytes += "\r\n";
    }
    return bytes;
}

bool isReadable(const std::wstring& value) {
    // What stands in the block as it is, and for the reader once more.
    return value.find_first_of(L"%\\\n\r\x1A") == std::wstring::npos && value.size() < 150 &&
           !value.empty() && trimmed(value) == value && value.find_first_not_of(L"\t :=") == 0 &&
           std::all_of(value.begin(), value.end(), [](wchar_t unit) { return unit > 0 && unit < 0x100; });
}

// Nothing in the block hides what stands behind it from the reader: no end of the file, no end of a line and
// no continuation into the next one.
bool isOneLineEach(const PropertyList& known) {
    return std::all_of(known.begin(), known.end(), [](const auto& entry) {
        return entry.value.find_first_of(L"\\\n\r\x1A") == std::wstring::npos;
    });
}

// The known values come back from the user's file, as long as the base file does not name the key.
void expectKnownValues(Bench& bench, const PropertyList& known, const std::wstring& file) {
    PropertyList list;
    bench.run([&] { zellauncher::loadPropertyFile(file, list); });
    for (const wchar_t* key : {L"zel.install.id", L"install.configuration"}) {
        const std::wstring* value = zellauncher::lookupProperty(key, known);
        if (value == nullptr || !isReadable(*value)) {
            continue;
        }
        const std::wstring* found = zellauncher::lookupProperty(key, list);
        expect(found != nullptr, "the user's file holds " + printable(key));
        const auto named =
            std::count_if(list.begin(), list.end(), [&](const auto& e) { return e.key == key; });
        expect(found == nullptr || named > 1 || *found == *value, "the known value: " + printable(*value));
    }
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    const std::string base = sections["base"];
    const PropertyList known = entriesOf(sections["known"]);
    const std::wstring directory = L"C:\\Users\\ann\\.config";
    const std::wstring baseFile = L"C:\\base\\zelinstall.properties";
    const std::wstring userFile = directory + L"\\zelinstall.properties";
    const AllocationAccount account;
    Bench bench;
    bench.machine.makeDirectory(directory);
    bench.machine.writeFile(baseFile, base);
    const launchertest::Outcome outcome =
        bench.run([&] { zellauncher::ensureUserInstallProperties(directory, L"C:\\base", known); });
    expect(bench.machine.operationCount() <= 100 + 2 * bytes.size(), "operations are bounded by the files");
    expect(account.peakBytes() <= machineBytes + bytesForByte * bytes.size(),
           "memory is bounded by the files: " + std::to_string(account.peakBytes()));

    expect(bench.machine.readFile(baseFile) == base, "the installation's file stays");
    bool isComplete = true;
    for (const wchar_t* key : {L"zel.install.id", L"zel.base.location", L"install.configuration"}) {
        isComplete = isComplete && zellauncher::lookupProperty(key, known) != nullptr;
    }
    expect(outcome.isFatal() != isComplete, "a missing key, and nothing else, is fatal");
    if (!isComplete) {
        return;
    }
    const std::string written = bench.machine.readFile(userFile).value_or("");
    const std::string copied = bytesOf(keptLines(readLines(base, false)));
    expect(written.starts_with(copied), "the copied lines are those that the rules keep");
    const bool isWritten = outcome.log.find("ZLNCH0015E") == std::string::npos;
    expect(
        !isWritten || written.substr(std::min(copied.size(), written.size())).starts_with("zel.install.id="),
        "the known lines stand behind them");
    const bool isTakenIn = copied.find('\\') != std::string::npos;  // by a continuation at its end
    if (isWritten && !isTakenIn && isOneLineEach(known)) {
        expectKnownValues(bench, known, userFile);
    }
}

}  // namespace fuzz
