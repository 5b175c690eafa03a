#include <algorithm>
#include <optional>

#include "fuzz/allocation_account.h"
#include "fuzz/bench.h"
#include "fuzz/sections.h"
#include "fuzz/target.h"
#include "fuzz/text_lines.h"
#include "provisioning/seed_files.h"

// The input is the installation's template of platform.xml and the identities of the features. The user's
// file must be the template line by line with the identities filled in, as far as they are known.
namespace fuzz {

namespace {

using zellauncher::PropertyList;

// The parts between the placeholders, with the value in their place.
std::wstring filled(const std::wstring& line, const std::wstring& placeholder, const std::wstring& value) {
    std::wstring result;
    std::size_t begin = 0;
    for (std::size_t at = line.find(placeholder); at != std::wstring::npos;
         at = line.find(placeholder, begin)) {
        result += line.substr(begin, at - begin) + value;
        begin = at + placeholder.size();
    }
    return result + line.substr(begin);
}

// The line of the user's file, or nothing where the copy ends.
std::optional<std::wstring> copyOf(std::wstring line, const PropertyList& known, bool isExternal) {
    for (const std::wstring feature : {L"jvm.feature.", L"jvm.parent.feature."}) {
        const std::wstring idPlaceholder = L"${" + feature + L"id}";
        if (line.find(idPlaceholder) == std::wstring::npos) {
            continue;
        }
        if (isExternal) {
            line = L"<feature>";
            continue;
        }
        const std::wstring* id = zellauncher::lookupProperty(feature + L"id", known);
        const std::wstring* version = zellauncher::lookupProperty(feature + L"version", known);
        if (id == nullptr || version == nullptr) {
            return std::nullopt;
        }
        line = filled(filled(line, idPlaceholder, *id), L"${" + feature + L"version}", *version);
    }
    return line;
}

struct Expected {
    std::string bytes;
    std::size_t longest = 0;
};

Expected expectedFile(const std::string& source, const PropertyList& known, bool isExternal) {
    Expected expected;
    for (const std::wstring& line : readLines(source, false)) {
        const std::optional<std::wstring> copy = copyOf(line, known, isExternal);
        if (!copy) {
            return expected;
        }
        expected.longest = std::max(expected.longest, copy->size());
        for (const wchar_t unit : *copy + L"\n") {
            if (unit > 0xFF) {
                return expected;  // a character that such a file cannot hold ends the copy behind it
            }
            expected.bytes += unit == L'\n' ? "\r" : "";
            expected.bytes += static_cast<char>(unit);
        }
    }
    return expected;
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    const std::string source = sections["template"];
    const PropertyList known = entriesOf(sections["known"]);
    const bool isExternal = sections.count("external") != 0;
    const std::wstring directory = L"C:\\Users\\ann\\.config";
    const Expected expected = expectedFile(source, known, isExternal);

    const AllocationAccount account;
    Bench bench;
    bench.machine.makeDirectory(directory);
    bench.machine.writeFile(L"C:\\base\\platform.xml", source);
    int result = -2;
    const launchertest::Outcome outcome =
        bench.run([&] { result = zellauncher::seedPlatformXml(directory, L"C:\\base", known, isExternal); });
    expect(outcome.end.status == 0 && result == 0, "a template is never fatal");
    // The values come in as often as a line names them.
    expect(bench.machine.operationCount() <= 100 + bytes.size(), "operations are bounded by the template");
    expect(account.peakBytes() <=
               600'000 + 100 * bytes.size() + 12 * expected.bytes.size() + 32 * expected.longest,
           "memory is bounded by the files: " + std::to_string(account.peakBytes()));

    expect(bench.machine.readFile(L"C:\\base\\platform.xml") == source, "the template stays");
    const std::optional<std::string> made =
        bench.machine.readFile(directory + L"\\org.eclipse.update\\platform.xml");
    const zellauncher::PropertyEntry unmanaged{L"update.policy.managed", L"false"};
    const std::wstring* managed = zellauncher::lookupProperty(unmanaged.key, known);
    const bool isManaged = managed == nullptr || *managed != unmanaged.value;
    expect(made.has_value() == isManaged, "the file is made unless others manage it");
    expect(!made || *made == expected.bytes, "the file is the template, filled in");
}

}  // namespace fuzz
