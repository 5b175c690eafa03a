#pragma once

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "explain/options.h"
#include "simulation/machine.h"

namespace explain {

// Why nothing can be explained, for the user.
class CannotExplain : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A machine before the start, and what it has although no real directory shows it (UTF-8, for people).
struct World {
    std::unique_ptr<simulation::Machine> machine;
    std::map<std::wstring, std::wstring> environment;
    std::wstring user;
    std::vector<std::string> assumptions;
};

// Shows the real directories and sets environment, user, registry and programs. Throws CannotExplain if a
// directory cannot be read or INSTALL has no `zel`.
World buildWorld(const StartOptions& options);

// Writes a file whatever was there, with its directories and, as an assumption, its drive. False if no file
// can be there, because the path is not a full one, has an impossible name or leads through a file.
bool putFile(World& world, const std::wstring& path, const std::string& content);

// The launcher's own file.
std::wstring launcherPath(const StartOptions& options);

}  // namespace explain
