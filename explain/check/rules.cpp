#include "explain/check/rules.h"

#include <algorithm>
#include <iterator>

namespace explain {

namespace {

constexpr Rule allRules[] = {
    {rules::booleanValue, "a value that must be true or false is something else"},
    {rules::bundleMissing, "config.ini starts a bundle that no file of the plug-in directories provides"},
    {rules::bundleStart, "what follows a bundle in osgi.bundles is neither a start level nor start"},
    {rules::byteOrderMark, "a byte-order mark becomes part of the first line"},
    {rules::commandLength, "the command is longer than the system can start, or nearly so"},
    {rules::continuation, "a backslash at the end of a line joins a line that was meant to be its own"},
    {rules::ctrlZ, "a Ctrl-Z ends the file for the launcher"},
    {rules::danglingPath, "a property names a file or directory that does not exist"},
    {rules::debugMarker, "the debug marker file holds every start"},
    {rules::duplicateKey, "a key is there twice, and only the first one counts"},
    {rules::eatenBackslash, "a single backslash is an escape and disappears"},
    {rules::emptyKey, "a line without a key ends the search for keys with a common beginning"},
    {rules::emptyValue, "a key that needs a value has none"},
    {rules::endlessToken, "tokens name each other without end"},
    {rules::environmentVariable, "a token needs a variable that a machine may lack"},
    {rules::exclamationRemark, "a line that begins with an exclamation mark is no remark to the launcher"},
    {rules::frameworkPath, "the path of the install does not contain framework"},
    {rules::identity, "zel.install.id cannot be a directory or does not survive its copy"},
    {rules::ignoredOption,
     "an option of the JVM or of the native launcher is written so that it is not passed on"},
    {rules::jvmLibraryPath, "an entry of jvm.library.path is lost"},
    {rules::jvmOption, "an option with which the JVM does not start"},
    {rules::kind, "install.configuration is no known kind"},
    {rules::lineEnd, "a carriage return alone does not end a line"},
    {rules::longLine, "a line is too long and is skipped or split"},
    {rules::longPath, "a path is longer than Windows programs can use"},
    {rules::missingFile, "a file that a start needs is missing"},
    {rules::missingKey, "a key that every install needs is missing"},
    {rules::noApplication, "nothing says which application the platform starts"},
    {rules::noFinalNewline, "what the launcher appends joins the last line"},
    {rules::noProduct, "nothing says which product the platform is"},
    {rules::nonAscii, "characters above 0x7F are not escaped"},
    {rules::notAJar, "a jar does not begin like one"},
    {rules::notAProgram, "a program or library is not one for 64-bit Windows"},
    {rules::nulByte, "a NUL byte ends its line"},
    {rules::numberedList, "a numbered list has a gap, or a number whose value is lost"},
    {rules::overriddenKey, "a key of the template wins over the one of zellauncher.properties"},
    {rules::pathLimit, "the platform's PATH loses the inherited one"},
    {rules::quoteInValue, "a double quote in a value, or a backslash at its end, breaks the command"},
    {rules::readOnlyFile, "a read-only file gives every user a read-only copy, or cannot be appended to"},
    {rules::remarkInValue, "a remark after a value is part of the value"},
    {rules::resetsUser, "every start after the first resets the user's configuration"},
    {rules::sameIdentity, "zel.install.id is the same as before although the templates differ"},
    {rules::separator, "a colon or blank ends the key before the equals sign"},
    {rules::similarKey, "a key is nearly the name of another one"},
    {rules::startFails, "a simulated start fails"},
    {rules::trailingSpace, "a tab at the end of a value is part of it"},
    {rules::unexpandedToken, "a token stands where nothing replaces it"},
    {rules::unknownToken, "nothing replaces a token, which ends a start"},
    {rules::utf16, "a text file is UTF-16"},
    {rules::workspacePath, "the workspace is no full path on a drive, or on a drive that is missing here"},
    {rules::wrongFile, "a key is in a file in which the launcher does not look for it"},
    {rules::zelDirectory, "the directory zel is missing or not in lower case"},
};

}  // namespace

std::span<const Rule> checkRules() {
    return allRules;
}

bool isRule(const std::string& name) {
    return std::any_of(std::begin(allRules), std::end(allRules),
                       [&](const Rule& rule) { return rule.name == name; });
}

}  // namespace explain
