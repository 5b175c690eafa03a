#include "properties/vmarg_overrides.h"

#include <cstddef>

#include "foundation/log_channel.h"

namespace zellauncher {

namespace {

bool isOverride(const std::wstring& word) {
    return word.starts_with(L"vmarg.");
}

// The first insertion of a name wins.
void insertWord(VmargOverrides& overrides, const std::wstring& word, const char* message) {
    const std::size_t separator = word.find(L'=');
    if (separator == std::wstring::npos) {
        logFatal(message);
    }
    overrides.emplace(word.substr(0, separator), word.substr(separator + 1));
}

void collectWords(VmargOverrides& overrides, const Arguments& words, Arguments& kept, const char* message) {
    for (const std::wstring& word : words) {
        if (isOverride(word)) {
            insertWord(overrides, word, message);
        } else {
            kept.push_back(word);
        }
    }
}

}  // namespace

void collectVmArguments(VmargOverrides& overrides, const Arguments& words, Arguments& kept) {
    Arguments others;
    collectWords(overrides, words, others, "ZLNCH0033E: zellauncher invoked with an invalid vmarg.");
    kept = others;
}

void collectVmWords(VmargOverrides& overrides, Arguments& words) {
    Arguments others;
    collectWords(overrides, words, others, "ZLNCH0128E: zellauncher invoked with an invalid vmarg.");
    words = others;
}

void collectVmProperties(VmargOverrides& overrides, PropertyList& list) {
    PropertyList kept;
    for (const PropertyEntry& entry : list) {
        if (isOverride(entry.key)) {
            overrides.emplace(entry.key, entry.value);
        } else {
            kept.push_back(entry);
        }
    }
    list = kept;
}

}  // namespace zellauncher
