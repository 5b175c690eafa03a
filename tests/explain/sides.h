#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

// What zelexplain says about a start and what the start does, in one form, so that they can be compared. For
// starts on the simulated machine and for those on Windows.
namespace explaintest {

using Lines = std::vector<std::string>;  // UTF-8

struct Side {
    std::string outcome;  // as in the JSON
    std::int32_t status = 0;
    std::string command;
    Lines environment;
    Lines files;
    Lines directories;
    Lines log;
};

// What zelexplain does not list: logs of the launcher and a platform's pipe file.
bool isLog(const std::wstring& path);
bool isPipeFile(const std::wstring& path);

// The change of a file as a line. `from` is empty unless the file was moved.
std::string fileLine(const std::string& change, const std::wstring& path, const std::wstring& from,
                     const std::string& content);
Lines environmentLines(const std::map<std::wstring, std::wstring>& set,
                       const std::vector<std::wstring>& unset);

// Collects the differences of two sides. Process ids, times and dates are masked.
class Differences {
public:
    explicit Differences(std::set<std::string> processIds) : ids(std::move(processIds)) {}

    enum class Order { matters, ignored };

    void compare(const std::string& what, const std::string& said, const std::string& real);
    // Empty lines are ignored.
    void compare(const std::string& what, Lines said, Lines real, Order order = Order::ignored);

    std::string masked(const std::string& text) const;

    Lines all;

private:
    std::set<std::string> ids;
};

}  // namespace explaintest
