#pragma once

#include <string>
#include <vector>

namespace standin {

// The words of this process's command line by the system's own rules, the program first.
std::vector<std::wstring> commandLineWords();

// Writes what this process was given into the directory, which is made when it is missing.
void writeStartRecords(const std::wstring& directory);

// Writes a file whole under another name first, so that no reader ever sees half of it.
void writeRecord(const std::wstring& directory, const std::wstring& name, const std::string& bytes);

}  // namespace standin
