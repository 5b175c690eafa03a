#include "explain/windows_paths.h"

#include <algorithm>

#include "explain/encoding.h"
#include "explain/host_files.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "simulation/machine.h"
#include "simulation/paths.h"

namespace explain {

namespace {

std::wstring plainForm(std::wstring path) {
    if (path.starts_with(zellauncher::longPathPrefix)) {
        path.erase(0, zellauncher::longPathPrefix.size());
    }
    zellauncher::toBackslashes(path);
    // Two separators count as one.
    path.erase(std::unique(path.begin(), path.end(),
                           [](wchar_t left, wchar_t right) { return left == L'\\' && right == L'\\'; }),
               path.end());
    if (path.size() > 3 && path.ends_with(L'\\')) {
        path.pop_back();
    }
    return path;
}

bool isLetter(wchar_t unit) {
    return (unit >= L'a' && unit <= L'z') || (unit >= L'A' && unit <= L'Z');
}

bool hasDrive(const std::wstring& plainPath) {
    return plainPath.size() >= 3 && isLetter(plainPath[0]) && plainPath[1] == L':' && plainPath[2] == L'\\';
}

}  // namespace

std::optional<std::wstring> fullDrivePath(std::wstring path) {
    path = plainForm(std::move(path));
    if (!hasDrive(path)) {
        return std::nullopt;
    }
    for (std::size_t start = 3; start < path.size();) {
        const std::size_t end = std::min(path.find(L'\\', start), path.size());
        const std::wstring name = path.substr(start, end - start);
        if (!simulation::isValidName(name) || name == L"." || name == L"..") {
            return std::nullopt;
        }
        start = end + 1;
    }
    return path;
}

std::optional<std::wstring> resolvedDrivePath(const simulation::Machine& machine, const std::wstring& path) {
    const bool isResolved = beginsWithDrive(path) && !path.starts_with(zellauncher::longPathPrefix);
    return fullDrivePath(isResolved ? machine.fullPath(path) : path);
}

std::wstring withoutQuotes(std::wstring element) {
    std::erase(element, L'"');
    return element;
}

std::wstring iniBeside(const std::wstring& program) {
    return program.substr(0, program.rfind(L'.')) + L".ini";
}

bool beginsWithDrive(const std::wstring& path) {
    return hasDrive(plainForm(path));
}

bool isSamePath(const std::wstring& left, const std::wstring& right) {
    return zellauncher::equalIgnoringCase(plainForm(left), plainForm(right));
}

bool isWithin(const std::wstring& path, const std::wstring& directory) {
    const std::wstring plain = plainForm(path);
    std::wstring beginning = plainForm(directory);
    if (!beginning.ends_with(L'\\')) {
        if (zellauncher::equalIgnoringCase(plain, beginning)) {
            return true;
        }
        beginning += L'\\';
    }
    return plain.size() >= beginning.size() &&
           zellauncher::equalIgnoringCase(plain.substr(0, beginning.size()), beginning);
}

std::wstring relativeTo(const std::wstring& path, const std::wstring& directory) {
    const std::wstring plain = plainForm(path);
    std::wstring beginning = plainForm(directory);
    if (!beginning.ends_with(L'\\')) {  // only a drive's root does
        beginning += L'\\';
    }
    return plain.size() > beginning.size() ? plain.substr(beginning.size()) : std::wstring();
}

std::wstring ownPath(const std::string& directory) {
    return plainForm(fromUtf8(canonicalPath(directory)));
}

}  // namespace explain
