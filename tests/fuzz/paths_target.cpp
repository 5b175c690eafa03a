#include "foundation/paths.h"

#include <algorithm>
#include <functional>
#include <optional>

#include "configuration/workspace.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "fuzz/input_sections.h"
#include "fuzz/launcher_runner.h"
#include "fuzz/peak_memory.h"
#include "fuzz/printable.h"
#include "fuzz/target.h"

// The input is paths, one per line. Their long form must be the one that the rules of the conversion give,
// and the operations that create or delete files must stay on the given path.
namespace fuzz {

namespace {

constexpr std::size_t mostPaths = 6;

// The operation's result; nothing if it is fatal.
std::optional<std::wstring> resultOf(LauncherRunner& runner, const std::function<std::wstring()>& operation) {
    std::wstring result;
    const launchertest::Outcome outcome = runner.runQuietly([&] { result = operation(); });
    expect(outcome.processEnd().kind == simulation::EndKind::exited, "a conversion returns or is fatal");
    if (outcome.isFatal()) {
        expect(outcome.log.find("ZLNCH") != std::string::npos, "a fatal end logs its reason");
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

// The rules of the conversion, as steps over the components, each of which is read once.
std::optional<std::wstring> longForm(const std::wstring& path) {
    const std::vector<std::wstring> components =
        componentsOf(path.starts_with(L"\\\\?\\") ? path.substr(4) : path);
    if (components.empty() || components[0].size() < 2 || components[0][1] != L':') {
        return std::nullopt;
    }
    std::size_t next = 0;
    const auto read = [&] {
        return next < components.size() ? std::optional(components[next++]) : std::nullopt;
    };
    std::wstring result = L"\\\\?\\";
    std::optional<std::wstring> current = read();
    while (current) {
        const std::optional<std::wstring> following = read();
        if (following == L"..") {
            current = read();
            read();
            continue;
        }
        result += *current + L"\\";
        current = following == L"." ? read() : following;
    }
    if (!isSeparator(path.back())) {
        result.pop_back();
    }
    return result;
}

void expectConversion(LauncherRunner& runner, const std::wstring& path) {
    const std::optional<std::wstring> converted =
        resultOf(runner, [&] { return zellauncher::toLongPath(path); });
    const std::optional<std::wstring> expected = longForm(path);
    expect(converted.has_value() == expected.has_value(),
           "a path is fatal only without a drive: " + printable(path));
    if (!converted || !expected) {
        return;
    }
    expect(*converted == *expected,
           printable(path) + " gives " + printable(*converted) + ", the rules give " + printable(*expected));
    expect(converted->size() <= path.size() + 4, "the long form is longer by at most the prefix");
    expect(converted->find(L'/') == std::wstring::npos, "the long form has no slash");
    expect(converted->find(L"\\\\", 4) == std::wstring::npos, "the long form has no double separator");
}

void expectWorkspacePath(LauncherRunner& runner, const std::wstring& path) {
    const std::optional<std::wstring> full =
        resultOf(runner, [&] { return zellauncher::resolveWorkspacePath(path); });
    const bool hasDrive = path.size() > 2 && path[1] == L':' && isSeparator(path[2]);
    if (hasDrive || path.starts_with(L"\\\\?\\") || path == L"\\\\") {
        expect(full == path, "an absolute path is kept: " + printable(path));
    } else if (path.starts_with(L"${")) {
        expect(!full, "an untranslated token is fatal");
    } else if (full) {
        expect(!full->empty() && full->size() < 260, "a full path is within the system's limit");
        expect((*full)[1] == L':' || full->starts_with(L"\\\\"),
               "a full path has a drive or a server: " + printable(*full));
    }
}

// The operations that change the disk use only the long form of the path.
void expectStaysOnPath(LauncherRunner& runner, const std::wstring& path) {
    const std::optional<std::wstring> expected = longForm(path);
    // A deletion is a move, which converts the converted path again.
    const std::wstring once = expected.value_or(L"");
    const std::wstring twice = expected ? longForm(once).value_or(once) : once;
    const std::wstring moved = once + L".deleteme";
    const std::size_t before = runner.machine.operations().size();
    resultOf(runner, [&] {
        zellauncher::createDirectories(path);
        zellauncher::fileExists(path);
        zellauncher::directoryExists(path);
        zellauncher::isExecutableFile(path);
        zellauncher::deleteFile(path);
        return path;
    });
    std::size_t changes = 0;
    for (std::size_t i = before; i < runner.machine.operations().size(); ++i) {
        const simulation::Operation& operation = runner.machine.operations()[i];
        const bool isCreation = operation.name == "createDirectory";
        if (!isCreation && operation.name != "deleteFile" && operation.name != "moveFile") {
            continue;
        }
        ++changes;
        expect(expected.has_value(), "a path without a long form changes nothing");
        const bool isOnPath = isCreation
                                  ? (once + L"\\").starts_with(operation.argument)
                                  : operation.argument == (operation.name == "moveFile" ? twice : moved);
        expect(isOnPath, operation.name + " stays on the path: " + printable(operation.argument));
    }
    expect(changes <= componentsOf(path).size() + 2,
           "at most one directory per component, one move and one deletion");
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    std::vector<std::wstring> paths = decodeLines(sections[""]);
    paths.resize(std::min(paths.size(), mostPaths));
    const PeakMemory memory;
    {
        LauncherRunner runner;
        runner.machine.makeDirectory(L"C:\\here\\below");
        runner.machine.setCurrentDirectory(L"C:\\here\\below");
        runner.machine.writeFile(L"C:\\here\\file.exe", "x");
        runner.machine.writeFile(L"C:\\here\\file.txt", "x");
        runner.machine.writeFile(L"C:\\here\\file.txt.deleteme", "x");
        for (const std::wstring& path : paths) {
            const std::wstring text = path.substr(0, path.find(L'\0'));
            if (text.empty()) {
                continue;
            }
            expectConversion(runner, text);
            expectWorkspacePath(runner, text);
            expectStaysOnPath(runner, text);
        }
        expect(runner.machine.operationCount() <= 200 * mostPaths + 2 * bytes.size(),
               "operations are bounded by the paths: " + std::to_string(runner.machine.operationCount()));
    }
    // The machine records each operation, and each of a path's n directories has a path of up to n
    // components.
    expect(memory.bytes() <= 1'000'000 + 200 * bytes.size() + 4 * bytes.size() * bytes.size(),
           "memory is bounded by the paths: " + std::to_string(memory.bytes()));
}

}  // namespace fuzz
