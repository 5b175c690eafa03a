#include "foundation/paths.h"

#include <algorithm>
#include <functional>
#include <optional>

#include "foundation/file_operations.h"
#include "foundation/file_tests.h"
#include "fuzz/allocation_account.h"
#include "fuzz/bench.h"
#include "fuzz/sections.h"
#include "fuzz/target.h"
#include "fuzz/text_lines.h"

// The input is paths, one a line, with the current directory in a section of its own. Their long form
// must be what the rules of the conversion give, and what makes or deletes files by it must stay on
// the path that was named.
namespace fuzz {

namespace {

constexpr std::size_t mostPaths = 6;

// Nothing when the process ended fatally.
std::optional<std::wstring> outcomeOf(Bench& bench, const std::function<std::wstring()>& operation) {
    std::wstring result;
    const launchertest::Outcome outcome = bench.runQuietly([&] { result = operation(); });
    expect(outcome.end.kind == simulation::EndKind::exited, "a conversion ends or is fatal");
    if (outcome.isFatal()) {
        expect(outcome.log.find("ZLNCH") != std::string::npos, "a fatal end says why");
        return std::nullopt;
    }
    return result;
}

bool isSeparator(wchar_t unit) {
    return unit == L'\\' || unit == L'/';
}

std::vector<std::wstring> componentsOf(const std::wstring& path) {
    std::vector<std::wstring> components;
    std::wstring component;
    for (const wchar_t unit : path + L"/") {
        if (!isSeparator(unit)) {
            component += unit;
        } else if (!component.empty()) {
            components.push_back(component);
            component.clear();
        }
    }
    return components;
}

// The rules of the conversion, step by step over a row of components that are each read once.
std::optional<std::wstring> longForm(const std::wstring& path) {
    std::vector<std::wstring> row = componentsOf(path.starts_with(L"\\\\?\\") ? path.substr(4) : path);
    if (row.empty() || row[0].size() < 2 || row[0][1] != L':') {
        return std::nullopt;
    }
    std::reverse(row.begin(), row.end());
    const auto read = [&]() -> std::optional<std::wstring> {
        if (row.empty()) {
            return std::nullopt;
        }
        std::wstring component = row.back();
        row.pop_back();
        return component;
    };
    std::wstring result = L"\\\\?\\";
    std::optional<std::wstring> current = read();
    while (current) {
        std::optional<std::wstring> next = read();
        if (next == L"..") {
            current = read();
            read();
            continue;
        }
        result += *current + L"\\";
        current = next == L"." ? read() : next;
    }
    if (!isSeparator(path.back())) {
        result.pop_back();
    }
    return result;
}

void expectConversion(Bench& bench, const std::wstring& path) {
    const std::optional<std::wstring> converted = outcomeOf(bench, [&] {
        std::wstring text = path;
        zellauncher::toLongPath(text);
        return text;
    });
    const std::optional<std::wstring> expected = longForm(path);
    expect(converted.has_value() == expected.has_value(), "a path is absolute or not: " + printable(path));
    if (!converted || !expected) {
        return;
    }
    expect(*converted == *expected,
           printable(path) + " gives " + printable(*converted) + ", the rules give " + printable(*expected));
    expect(converted->size() <= path.size() + 4, "the long form is the prefix longer at most");
    expect(converted->find(L'/') == std::wstring::npos, "the long form has no slash");
    expect(converted->find(L"\\\\", 4) == std::wstring::npos, "the long form has no double separator");
}

void expectWorkspacePath(Bench& bench, const std::wstring& path) {
    const std::optional<std::wstring> full = outcomeOf(bench, [&] {
        std::wstring result;
        zellauncher::resolveWorkspacePath(path, result);
        return result;
    });
    const bool hasDrive = path.size() > 2 && path[1] == L':' && isSeparator(path[2]);
    if (hasDrive || path.starts_with(L"\\\\?\\") || path == L"\\\\") {
        expect(full == path, "an absolute path stays: " + printable(path));
    } else if (path.starts_with(L"${")) {
        expect(!full, "an untranslated token is fatal");
    } else if (full) {
        expect(!full->empty() && full->size() < 260, "a full path fits the system's limit");
        expect((*full)[1] == L':' || full->starts_with(L"\\\\"), "a full path is full: " + printable(*full));
    }
}

// The operations that change the disk, each by the long form of its path and nowhere else.
void expectStaysOnPath(Bench& bench, const std::wstring& path) {
    const std::optional<std::wstring> expected = longForm(path);
    // A deletion goes by a move, which converts what has been converted already.
    const std::wstring once = expected.value_or(L"");
    const std::wstring twice = expected ? longForm(once).value_or(once) : once;
    const std::wstring aside = once + L".deleteme";
    const std::size_t before = bench.machine.operations().size();
    outcomeOf(bench, [&] {
        zellauncher::createDirectories(path);
        zellauncher::fileExists(path);
        zellauncher::directoryExists(path);
        zellauncher::isExecutableFile(path);
        zellauncher::deleteFile(path);
        return path;
    });
    std::size_t changes = 0;
    for (std::size_t i = before; i < bench.machine.operations().size(); ++i) {
        const simulation::Operation& operation = bench.machine.operations()[i];
        const bool makes = operation.name == "createDirectory";
        if (!makes && operation.name != "deleteFile" && operation.name != "moveFile") {
            continue;
        }
        ++changes;
        expect(expected.has_value(), "a path that has no long form changes nothing");
        const bool isOnPath = makes ? (once + L"\\").starts_with(operation.argument)
                                    : operation.argument == (operation.name == "moveFile" ? twice : aside);
        expect(isOnPath, operation.name + " stays on the path: " + printable(operation.argument));
    }
    expect(changes <= componentsOf(path).size() + 2, "one directory a component, one move and one deletion");
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    std::vector<std::wstring> paths = wordsOf(sections[""]);
    paths.resize(std::min(paths.size(), mostPaths));
    const AllocationAccount account;
    {
        Bench bench;
        bench.machine.makeDirectory(L"C:\\here\\below");
        bench.machine.setCurrentDirectory(L"C:\\here\\below");
        bench.machine.writeFile(L"C:\\here\\file.exe", "x");
        bench.machine.writeFile(L"C:\\here\\file.txt", "x");
        bench.machine.writeFile(L"C:\\here\\file.txt.deleteme", "x");
        for (const std::wstring& path : paths) {
            const std::wstring text = path.substr(0, path.find(L'\0'));
            if (text.empty()) {
                continue;
            }
            expectConversion(bench, text);
            expectWorkspacePath(bench, text);
            expectStaysOnPath(bench, text);
        }
        expect(bench.machine.operationCount() <= 200 * mostPaths + 2 * bytes.size(),
               "operations are bounded by the paths: " + std::to_string(bench.machine.operationCount()));
    }
    // A path of n components is named in the record of each of its n directories.
    expect(account.peakBytes() <= 1'000'000 + 200 * bytes.size() + 4 * bytes.size() * bytes.size(),
           "memory is bounded by the paths: " + std::to_string(account.peakBytes()));
}

}  // namespace fuzz
