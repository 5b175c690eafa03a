#include <algorithm>
#include <optional>

#include "fuzz/input_sections.h"
#include "fuzz/launcher_runner.h"
#include "fuzz/peak_memory.h"
#include "fuzz/reference_lines.h"
#include "fuzz/target.h"
#include "provisioning/platform_xml.h"

// The input is the template of platform.xml and the identities of the features. The user's file must be the
// template line by line with the known identities filled in.
namespace fuzz {

namespace {

using zellauncher::PropertyList;

// From the beginning of the line again and again. A line with more than a thousand replacements is unchanged.
// `longest` becomes the length of the longest line on the way, if that is longer.
std::wstring replaceAll(const std::wstring& line, const std::wstring& placeholder, const std::wstring& value,
                        std::size_t& longest) {
    std::wstring result = line;
    std::size_t at = result.find(placeholder);
    for (int replacements = 0; at != std::wstring::npos; at = result.find(placeholder)) {
        result.replace(at, placeholder.size(), value);
        longest = std::max(longest, result.size());
        if (++replacements > 1000) {
            return line;
        }
    }
    return result;
}

// The line of the user's file; nothing if the copy ends before it.
std::optional<std::wstring> userLine(std::wstring line, const PropertyList& known, bool isExternal,
                                     std::size_t& longest) {
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
        line = replaceAll(line, idPlaceholder, *id, longest);
        line = replaceAll(line, L"${" + feature + L"version}", *version, longest);
    }
    return line;
}

struct Expected {
    std::string bytes;
    std::size_t longestLine = 0;
};

Expected expectedFile(const std::string& source, const PropertyList& known, bool isExternal) {
    Expected expected;
    for (const std::wstring& line : referenceLines(source, LeadingSpace::kept)) {
        const std::optional<std::wstring> copy = userLine(line, known, isExternal, expected.longestLine);
        if (!copy) {
            return expected;
        }
        expected.longestLine = std::max(expected.longestLine, copy->size());
        for (const wchar_t unit : *copy + L"\n") {
            if (unit > 0xFF) {
                return expected;  // the file cannot hold this character, so the copy ends before it
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
    const PropertyList known = decodeEntries(sections["known"]);
    const bool isExternal = sections.count("external") != 0;
    const std::wstring directory = L"C:\\Users\\ann\\.config";
    const Expected expected = expectedFile(source, known, isExternal);

    const PeakMemory memory;
    LauncherRunner runner;
    runner.machine.makeDirectory(directory);
    runner.machine.writeFile(L"C:\\base\\platform.xml", source);
    int result = -2;
    const launchertest::Outcome outcome =
        runner.run([&] { result = zellauncher::seedPlatformXml(directory, L"C:\\base", known, isExternal); });
    expect(outcome.processEnd().status == 0 && result == 0, "no template is fatal");
    expect(runner.machine.operationCount() <= 100 + bytes.size(), "operations are bounded by the template");
    // A line repeats a value for each of its placeholders, or a thousand times before it gives up.
    expect(memory.bytes() <=
               600'000 + 100 * bytes.size() + 12 * expected.bytes.size() + 32 * expected.longestLine,
           "memory is bounded by the files: " + std::to_string(memory.bytes()));

    expect(runner.machine.readFile(L"C:\\base\\platform.xml") == source, "the template is unchanged");
    const std::optional<std::string> created =
        runner.machine.readFile(directory + L"\\org.eclipse.update\\platform.xml");
    const zellauncher::PropertyEntry unmanaged{L"update.policy.managed", L"false"};
    const std::wstring* managed = zellauncher::lookupProperty(unmanaged.key, known);
    const bool isManaged = managed == nullptr || *managed != unmanaged.value;
    expect(created.has_value() == isManaged, "the file is created unless its management is switched off");
    expect(!created || *created == expected.bytes, "the file is the template with the identities");
}

}  // namespace fuzz
