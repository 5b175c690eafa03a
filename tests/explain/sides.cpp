#include "explain/sides.h"

#include <algorithm>
#include <regex>

#include "support/text.h"

namespace explaintest {

using launchertest::toUtf8;

namespace {

std::string withoutTimes(const std::string& text) {
    if (text.find_first_of("0123456789") == std::string::npos) {
        return text;
    }
    static const std::regex stamp("[0-9]{8}_[0-9]{6}(_[0-9]{3})?");
    static const std::regex date(
        "(Sat|Sun|Mon|Tue|Wed|Thu|Fri) [A-Z][a-z]{2} [0-9 ][0-9] [0-9:]{8} [0-9]{4}");
    return std::regex_replace(std::regex_replace(text, stamp, "<time>"), date, "<date>");
}

}  // namespace

bool isLog(const std::wstring& path) {
    const std::wstring name = path.substr(path.find_last_of(L"\\/") + 1);
    return name.starts_with(L"zellauncher") && name.ends_with(L".log");
}

bool isPipeFile(const std::wstring& path) {
    return path.ends_with(L"\\.pipe");
}

std::string fileLine(const std::string& change, const std::wstring& path, const std::wstring& from,
                     const std::string& content) {
    return change + " " + toUtf8(path) + (from.empty() ? "" : " from " + toUtf8(from)) + ": " + content;
}

Lines environmentLines(const std::map<std::wstring, std::wstring>& set,
                       const std::vector<std::wstring>& unset) {
    Lines lines;
    for (const auto& [name, value] : set) {
        lines.push_back(toUtf8(name) + "=" + toUtf8(value));
    }
    for (const std::wstring& name : unset) {
        lines.push_back(toUtf8(name) + " removed");
    }
    return lines;
}

std::string Differences::masked(const std::string& text) const {
    constexpr const char* digits = "0123456789";
    std::string result;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t number = std::min(text.find_first_of(digits, begin), text.size());
        const std::size_t end = std::min(text.find_first_not_of(digits, number), text.size());
        const std::string id = text.substr(number, end - number);
        result.append(text, begin, number - begin).append(ids.count(id) != 0 ? "<id>" : id);
        begin = end;
    }
    return withoutTimes(result);
}

void Differences::compare(const std::string& what, const std::string& said, const std::string& real) {
    if (said == real) {
        return;  // masking costs more than everything else
    }
    const std::string maskedSaid = masked(said);
    const std::string maskedReal = masked(real);
    if (maskedSaid != maskedReal) {
        all.push_back(what + ": zelexplain says [" + maskedSaid + "], the start does [" + maskedReal + "]");
    }
}

void Differences::compare(const std::string& what, Lines said, Lines real, Order order) {
    if (said == real) {
        return;
    }
    for (Lines* lines : {&said, &real}) {
        for (std::string& line : *lines) {
            line = masked(line);
        }
        std::erase(*lines, "");
        if (order == Order::ignored) {
            std::sort(lines->begin(), lines->end());
        }
    }
    if (said == real) {
        return;
    }
    for (const std::string& line : said) {
        if (std::find(real.begin(), real.end(), line) == real.end()) {
            all.push_back(std::string(what).append(": only zelexplain has [").append(line).append("]"));
        }
    }
    for (const std::string& line : real) {
        if (std::find(said.begin(), said.end(), line) == said.end()) {
            all.push_back(std::string(what).append(": only the start has [").append(line).append("]"));
        }
    }
    all.push_back(what + " differ");
}

}  // namespace explaintest
