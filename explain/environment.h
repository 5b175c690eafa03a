#pragma once

#include <map>
#include <string>
#include <vector>

#include "explain/options.h"

// What the machine has besides files.
namespace explain {

using Variables = std::map<std::wstring, std::wstring>;  // names in upper case are equal

struct System {
    Variables environment;
    std::wstring user;
    std::wstring currentDirectory;
    std::vector<wchar_t> drives;  // to be shown; none if the machine has only the given directories
};

// The system of an ordinary Windows with the variables that every Windows has, as the options change it.
System defaultSystem(const StartOptions& options);

// This computer's. Only on Windows.
System ownSystem();

// Environment names ignore case.
void setVariable(Variables& variables, const std::wstring& name, const std::wstring& value);
void unsetVariable(Variables& variables, const std::wstring& name);
const std::wstring* findVariable(const Variables& variables, const std::wstring& name);  // or null

}  // namespace explain
