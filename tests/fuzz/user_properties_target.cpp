#include <algorithm>
#include <optional>

#include "configuration/user_install_properties.h"
#include "fuzz/input_sections.h"
#include "fuzz/launcher_runner.h"
#include "fuzz/peak_memory.h"
#include "fuzz/printable.h"
#include "fuzz/reference_lines.h"
#include "fuzz/target.h"
#include "properties/property_reader.h"

// The input is the base zelinstall.properties and the properties known from zellauncher.properties. The
// user's file must contain exactly the lines that the rules of the copy keep, and after them the known lines.
namespace fuzz {

namespace {

using zellauncher::PropertyList;

constexpr std::size_t machineBytes = 600'000;
constexpr std::size_t bytesPerByte = 200;

bool isContinued(const std::wstring& line) {
    const std::size_t last = line.find_last_not_of(L'\\');
    const std::size_t backslashes = line.size() - (last == std::wstring::npos ? 1 : last + 1);
    return line.size() > 1 && backslashes % 2 == 1;
}

// The first line of an entry as it is in the user's file; nothing for another operating system's entry.
std::optional<std::wstring> userLine(const std::wstring& whole) {
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

// An entry is a comment, or a line with all its continuations.
std::vector<std::wstring> keptLines(const std::vector<std::wstring>& lines) {
    std::vector<std::wstring> kept;
    for (std::size_t i = 0; i < lines.size();) {
        if (lines[i].starts_with(L"#") || lines[i].starts_with(L"!")) {
            kept.push_back(lines[i++]);
            continue;
        }
        std::size_t end = i + 1;
        while (end < lines.size() && isContinued(lines[end - 1])) {
            ++end;
        }
        if (const std::optional<std::wstring> own = userLine(lines[i])) {
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

// The value is written without escapes and read back unchanged.
bool isReadable(const std::wstring& value) {
    return value.find_first_of(L"%\\\n\r\x1A") == std::wstring::npos && value.size() < 150 &&
           !value.empty() && trimBlanks(value) == value && value.find_first_not_of(L"\t :=") == 0 &&
           std::all_of(value.begin(), value.end(), [](wchar_t unit) { return unit > 0 && unit < 0x100; });
}

// No value ends the file, ends its line or continues into the next line, so the reader sees them all.
bool isOneLineEach(const PropertyList& known) {
    return std::all_of(known.begin(), known.end(), [](const auto& entry) {
        return entry.value.find_first_of(L"\\\n\r\x1A") == std::wstring::npos;
    });
}

// The known values are read back from the user's file unless the base file has the key as well.
void expectKnownValues(LauncherRunner& runner, const PropertyList& known, const std::wstring& file) {
    PropertyList list;
    runner.run([&] { zellauncher::loadPropertyFile(file, list); });
    for (const wchar_t* key : {L"zel.install.id", L"install.configuration"}) {
        const std::wstring* value = zellauncher::lookupProperty(key, known);
        if (value == nullptr || !isReadable(*value)) {
            continue;
        }
        const std::wstring* found = zellauncher::lookupProperty(key, list);
        expect(found != nullptr, "the user's file has the key " + printable(key));
        const auto entries =
            std::count_if(list.begin(), list.end(), [&](const auto& e) { return e.key == key; });
        expect(found == nullptr || entries > 1 || *found == *value,
               "the known value is read back: " + printable(*value));
    }
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    const std::string base = sections["base"];
    const PropertyList known = decodeEntries(sections["known"]);
    const std::wstring directory = L"C:\\Users\\ann\\.config";
    const std::wstring baseFile = L"C:\\base\\zelinstall.properties";
    const std::wstring userFile = directory + L"\\zelinstall.properties";
    const PeakMemory memory;
    LauncherRunner runner;
    runner.machine.makeDirectory(directory);
    runner.machine.writeFile(baseFile, base);
    const launchertest::Outcome outcome =
        runner.run([&] { zellauncher::ensureUserInstallProperties(directory, L"C:\\base", known); });
    expect(runner.machine.operationCount() <= 100 + 2 * bytes.size(), "operations are bounded by the files");
    expect(memory.bytes() <= machineBytes + bytesPerByte * bytes.size(),
           "memory is bounded by the files: " + std::to_string(memory.bytes()));

    expect(runner.machine.readFile(baseFile) == base, "the base file is unchanged");
    bool isComplete = true;
    for (const wchar_t* key : {L"zel.install.id", L"zel.base.location", L"install.configuration"}) {
        isComplete = isComplete && zellauncher::lookupProperty(key, known) != nullptr;
    }
    expect(outcome.isFatal() != isComplete, "only a missing key is fatal");
    if (!isComplete) {
        return;
    }
    const std::string written = runner.machine.readFile(userFile).value_or("");
    const std::string copied = bytesOf(keptLines(referenceLines(base, LeadingSpace::kept)));
    expect(written.starts_with(copied), "exactly the lines that the rules keep are copied");
    const bool isWritten = outcome.log.find("ZLNCH0015E") == std::string::npos;
    expect(
        !isWritten || written.substr(std::min(copied.size(), written.size())).starts_with("zel.install.id="),
        "the known lines follow the copied ones");
    const bool mayContinue = copied.find('\\') != std::string::npos;  // into the known lines
    if (isWritten && !mayContinue && isOneLineEach(known)) {
        expectKnownValues(runner, known, userFile);
    }
}

}  // namespace fuzz
