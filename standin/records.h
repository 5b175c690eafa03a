#pragma once

#include <string>
#include <vector>

namespace standin {

// The arguments of this process, split by the system's rules; argument 0 is the program.
std::vector<std::wstring> commandLineArguments();

// Records what this process was started with, in files of the directory, which is created if necessary.
void writeStartRecords(const std::wstring& directory);

// Writes a file under another name and renames it, so that no reader finds an incomplete one. Like
// removeRecord, it tries for some seconds if another program, such as a virus scanner, has a file open.
void writeRecord(const std::wstring& directory, const std::wstring& name, const std::string& bytes);

// Deletes a file if it exists.
void removeRecord(const std::wstring& directory, const std::wstring& name);

}  // namespace standin
