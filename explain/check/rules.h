#pragma once

#include <span>
#include <string>

namespace explain {

struct Rule {
    const char* name;
    const char* explanation;  // one line
};

// All rules, sorted by name.
std::span<const Rule> checkRules();
bool isRule(const std::string& name);

// The names, so that the compiler finds a misspelt one.
namespace rules {

inline constexpr const char* booleanValue = "boolean-value";
inline constexpr const char* bundleMissing = "bundle-missing";
inline constexpr const char* bundleStart = "bundle-start";
inline constexpr const char* byteOrderMark = "byte-order-mark";
inline constexpr const char* commandLength = "command-length";
inline constexpr const char* continuation = "continuation";
inline constexpr const char* ctrlZ = "ctrl-z";
inline constexpr const char* danglingPath = "dangling-path";
inline constexpr const char* debugMarker = "debug-marker";
inline constexpr const char* duplicateKey = "duplicate-key";
inline constexpr const char* eatenBackslash = "eaten-backslash";
inline constexpr const char* emptyKey = "empty-key";
inline constexpr const char* emptyValue = "empty-value";
inline constexpr const char* endlessToken = "endless-token";
inline constexpr const char* environmentVariable = "environment-variable";
inline constexpr const char* exclamationRemark = "exclamation-remark";
inline constexpr const char* frameworkPath = "framework-path";
inline constexpr const char* identity = "identity";
inline constexpr const char* ignoredOption = "ignored-option";
inline constexpr const char* jvmLibraryPath = "jvm-library-path";
inline constexpr const char* jvmOption = "jvm-option";
inline constexpr const char* kind = "kind";
inline constexpr const char* lineEnd = "line-end";
inline constexpr const char* longLine = "long-line";
inline constexpr const char* longPath = "long-path";
inline constexpr const char* missingFile = "missing-file";
inline constexpr const char* missingKey = "missing-key";
inline constexpr const char* noApplication = "no-application";
inline constexpr const char* noFinalNewline = "no-final-newline";
inline constexpr const char* noProduct = "no-product";
inline constexpr const char* nonAscii = "non-ascii";
inline constexpr const char* notAJar = "not-a-jar";
inline constexpr const char* notAProgram = "not-a-program";
inline constexpr const char* nulByte = "nul-byte";
inline constexpr const char* numberedList = "numbered-list";
inline constexpr const char* overriddenKey = "overridden-key";
inline constexpr const char* pathLimit = "path-limit";
inline constexpr const char* quoteInValue = "quote-in-value";
inline constexpr const char* readOnlyFile = "read-only-file";
inline constexpr const char* remarkInValue = "remark-in-value";
inline constexpr const char* resetsUser = "resets-user";
inline constexpr const char* sameIdentity = "same-identity";
inline constexpr const char* separator = "separator";
inline constexpr const char* similarKey = "similar-key";
inline constexpr const char* startFails = "start-fails";
inline constexpr const char* trailingSpace = "trailing-space";
inline constexpr const char* unexpandedToken = "unexpanded-token";
inline constexpr const char* unknownToken = "unknown-token";
inline constexpr const char* utf16 = "utf-16";
inline constexpr const char* workspacePath = "workspace-path";
inline constexpr const char* wrongFile = "wrong-file";
inline constexpr const char* zelDirectory = "zel-directory";

}  // namespace rules

}  // namespace explain
