#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "explain/catalogue.h"
#include "explain/catalogue_reference.h"
#include "explain/check/source_literals.h"

// The catalogue and the launcher's sources name the same messages, keys, options, files and variables.
namespace {

using explaintest::SourceLiteral;
using Texts = std::set<std::string>;

const std::vector<SourceLiteral>& literals() {
    static const std::vector<SourceLiteral> all = explaintest::launcherLiterals();
    return all;
}

nlohmann::json catalogueFile(const std::string& name) {
    std::ifstream stream(std::string(CATALOGUE_DIRECTORY) + "/" + name);
    return nlohmann::json::parse(stream);
}

Texts without(const Texts& all, const Texts& some) {
    Texts rest;
    std::set_difference(all.begin(), all.end(), some.begin(), some.end(), std::inserter(rest, rest.end()));
    return rest;
}

bool isOneOf(const std::string& name, const Texts& names) {
    return names.count(name) != 0;
}

// --- Messages --------------------------------------------------------------------------------------

// A text that the launcher logs, with conversions for what is added to it.
Texts sourceMessages() {
    const Texts logging = {"logDebug", "logDebugF", "logMessage", "logMessageF",
                           "logFatal", "logFatalF", "appendError"};
    Texts messages;
    for (const SourceLiteral& literal : literals()) {
        if (literal.call == "logDebugLastError") {
            messages.insert(literal.text + " failed with error %d: %ls");
            continue;
        }
        if (literal.call == "logDebugArgs") {
            messages.insert(literal.text + "=\"%ls");
            continue;
        }
        const bool isMarked =
            literal.text.find("ZLNCH") != std::string::npos || literal.text.starts_with("ZELLauncher>");
        const bool isLogged =
            isOneOf(literal.call, logging) && (literal.isFirst || literal.call == "appendError");
        if (!isMarked && !isLogged) {
            continue;
        }
        for (std::size_t begin = 0; begin <= literal.text.size();) {
            const std::size_t end = std::min(literal.text.find('\n', begin), literal.text.size());
            const std::string line = literal.text.substr(begin, end - begin);
            if (!line.empty() && line != "%ls") {
                messages.insert(line + (literal.call == "appendError" ? "%ls" : ""));
            }
            begin = end + 1;
        }
    }
    return messages;
}

Texts catalogueMessages() {
    Texts messages;
    for (const explain::MessageEntry& entry : explain::messageEntries()) {
        EXPECT_TRUE(messages.insert(entry.text).second) << "twice: " << entry.text;
    }
    return messages;
}

TEST(Catalogue, HasEveryMessageOfTheSources) {
    EXPECT_THAT(without(sourceMessages(), catalogueMessages()), testing::IsEmpty());
}

TEST(Catalogue, HasNoMessageThatTheSourcesLack) {
    EXPECT_THAT(without(catalogueMessages(), sourceMessages()), testing::IsEmpty());
}

TEST(Catalogue, ExplainsWhatEndsAStart) {
    for (const explain::MessageEntry& entry : explain::messageEntries()) {
        EXPECT_FALSE(entry.meaning.empty()) << entry.text;
        const bool isVersion = entry.text.starts_with("ZLNCH0031I");
        if (entry.kind == explain::MessageEntry::Kind::fatal && !isVersion) {
            EXPECT_FALSE(entry.cause.empty()) << entry.text;
            EXPECT_FALSE(entry.remedy.empty()) << entry.text;
        }
    }
}

// A message that a fatal call logs is fatal in the catalogue.
TEST(Catalogue, KnowsWhichMessagesAreFatal) {
    for (const SourceLiteral& literal : literals()) {
        const bool isFatal = isOneOf(literal.call, {"logFatal", "logFatalF", "endWithReason"});
        const std::string line = literal.text.substr(literal.text.starts_with('\n') ? 1 : 0);
        const auto entry = explain::lookUpMessage(line.substr(0, line.find('\n')));
        if (isFatal && literal.isFirst) {
            ASSERT_TRUE(entry) << literal.text;
            EXPECT_EQ(entry->kind, explain::MessageEntry::Kind::fatal) << literal.text;
        }
        const bool isDebugLine = isOneOf(literal.call, {"logDebug", "logDebugF"});
        if (isDebugLine && literal.isFirst && entry && !literal.text.starts_with("ZELLauncher>")) {
            EXPECT_NE(entry->kind, explain::MessageEntry::Kind::fatal) << literal.text;
        }
    }
}

struct LineOfMessage {
    const char* line;
    const char* text;
};

TEST(Catalogue, FindsAMessageByItsWordsNotByItsNumber) {
    const LineOfMessage lines[] = {
        {"ZLNCH0022E: Unable to backup zelinstall.properties",
         "ZLNCH0022E: Unable to backup zelinstall.properties"},
        {"ZLNCH0022E: Unable to recover zelinstall.properties",
         "ZLNCH0022E: Unable to recover zelinstall.properties"},
        {"ZLNCH0119I: VM specified is \"external JVM\"", "ZLNCH0119I: VM specified is \"%s\""},
        {"Can't delete file \\\\?\\C:\\ws\\a  -  Failed with error 5: Access is denied.",
         "Can't delete file %ls"},
        {"ZLNCH0058E: Error reading HKLM\\a\\b: rc = 2", "ZLNCH0058E: Error reading HKLM\\%S\\%S: rc = %d"},
    };
    for (const LineOfMessage& expected : lines) {
        const auto entry = explain::lookUpMessage(expected.line);
        ASSERT_TRUE(entry) << expected.line;
        EXPECT_EQ(entry->text, expected.text);
    }
    EXPECT_FALSE(explain::lookUpMessage("ZLNCH0022E: something else"));
    EXPECT_FALSE(explain::lookUpMessage(""));
}

// --- Keys ------------------------------------------------------------------------------------------

// The literals that a key is made of in the sources: the words beside its `<...>`, unless it says others.
Texts wordsOf(const nlohmann::json& entry) {
    if (entry.contains("words")) {
        return entry["words"].get<Texts>();
    }
    std::string key = entry.contains("key") ? entry["key"] : entry["path"];
    Texts words;
    for (std::size_t open = key.find('<'); open != std::string::npos; open = key.find('<')) {
        words.insert(key.substr(0, open));
        key.erase(0, key.find('>') + 1);
    }
    words.insert(key);
    words.erase("");
    return words;
}

Texts wordsOfAll(const std::string& catalogue) {
    Texts words;
    for (const nlohmann::json& entry : catalogueFile(catalogue)) {
        words.merge(wordsOf(entry));
    }
    return words;
}

Texts allLiterals() {
    Texts texts;
    for (const SourceLiteral& literal : literals()) {
        texts.insert(literal.text);
    }
    return texts;
}

// Texts with a dot that are neither keys nor files.
const Texts otherDottedTexts = {
    "env.",
    "prop.",
    "shell32.dll",
    "kernel32.dll",
    "netapi32.dll",
    "config.",
    "java.exe",
    "javaw.exe",
    "k7.exe",
    "k7w.exe",
    "navarin.exe",
    "navarinw.exe",
    "Explorer.exe",
    "serial.multiuser",
    "mivel.tarsin.client.",
    "java.library.path",  // refused in arguments
    "org.eclipse.core.launcher.Main",
};

Texts sourceKeys() {
    const Texts reading = {"lookupProperty", "findProperties",     "addProperty", "setPropertyValue",
                           "appendLine",     "appendOptionalLine", "escapeEntry", "appendPath"};
    const std::regex dotted("[A-Za-z]\\w*(\\.\\w+)*\\.?");
    Texts keys;
    for (const SourceLiteral& literal : literals()) {
        const bool isDotted =
            literal.text.find('.') != std::string::npos && std::regex_match(literal.text, dotted);
        const bool isRead = isOneOf(literal.call, reading) && literal.text != "=";
        if (isRead || (isDotted && literal.file.find("windows/") == std::string::npos)) {
            keys.insert(literal.text);
        }
    }
    return keys;
}

TEST(Catalogue, HasEveryKeyOfTheSources) {
    Texts known = wordsOfAll("keys.json");
    known.merge(wordsOfAll("files.json"));
    known.insert(otherDottedTexts.begin(), otherDottedTexts.end());
    for (const nlohmann::json& entry : catalogueFile("options.json")) {
        known.insert(entry["option"].get<std::string>());
    }
    EXPECT_THAT(without(sourceKeys(), known), testing::IsEmpty());
}

TEST(Catalogue, HasNoKeyThatTheSourcesLack) {
    EXPECT_THAT(without(wordsOfAll("keys.json"), allLiterals()), testing::IsEmpty());
}

TEST(Catalogue, FindsAKeyWithTheNameThatThePackagerChose) {
    const std::pair<const char*, const char*> keys[] = {
        {"config.help.1", "config.<name>.<n>"},     {"config.help.appID", "config.<name>.appID"},
        {"config.initial.2", "config.initial.<n>"}, {"-Dfoo", "-D<name>"},
        {"vmarg.Dshare", "vmarg.Dshare"},           {"vmarg.Xss", "vmarg.<name>"},
        {"env.set.LANG", "env.set.<NAME>"},         {"arg20", "arg20"},
    };
    for (const auto& [key, entry] : keys) {
        const explain::KeyEntry* found = explain::lookUpKey(key);
        ASSERT_NE(found, nullptr) << key;
        EXPECT_EQ(found->key, entry);
    }
    EXPECT_EQ(explain::lookUpKey("config."), nullptr);
    EXPECT_EQ(explain::lookUpKey("zel.install.ID"), nullptr);
}

// --- Options, variables, files ---------------------------------------------------------------------

TEST(Catalogue, HasTheOptionsOfTheSources) {
    const std::regex option("--?[A-Za-z][^ %]+");
    Texts sources;
    for (const SourceLiteral& literal : literals()) {
        if (std::regex_match(literal.text, option)) {
            sources.insert(literal.text);
        }
    }
    Texts known;
    for (const explain::OptionEntry& entry : explain::optionEntries()) {
        known.insert(entry.option);
    }
    EXPECT_EQ(sources, known);
}

TEST(Catalogue, HasTheVariablesOfTheSources) {
    Texts sources;
    for (const SourceLiteral& literal : literals()) {
        if (isOneOf(literal.call, {"getEnvironmentVariable", "environmentValue", "setEnvironmentValue"})) {
            sources.insert(literal.text);
        }
    }
    sources.erase("=");
    Texts known;
    for (const explain::VariableEntry& entry : explain::variableEntries()) {
        known.insert(entry.variable);
    }
    EXPECT_EQ(sources, known);
}

TEST(Catalogue, HasTheFilesOfTheSources) {
    const Texts known = wordsOfAll("files.json");
    for (const SourceLiteral& literal : literals()) {
        if (literal.file == "foundation/user_files.h") {
            EXPECT_EQ(known.count(literal.text), 1U) << literal.text;
        }
    }
    Texts sources = allLiterals();
    sources.insert("zel\\");
    EXPECT_THAT(without(known, sources), testing::IsEmpty());
}

// --- The reference ---------------------------------------------------------------------------------

TEST(Reference, IsWhatTheCatalogueSays) {
    std::ifstream stream(REFERENCE_FILE, std::ios::binary);
    const std::string page((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    EXPECT_TRUE(page == explain::writeReference())
        << "docs/reference.md is old: build/native/zelexplain reference >docs/reference.md";
}

TEST(Reference, HasEveryEntry) {
    const std::string page = explain::writeReference();
    for (const explain::MessageEntry& entry : explain::messageEntries()) {
        EXPECT_NE(page.find("`" + entry.text + "`"), std::string::npos) << entry.text;
    }
    for (const explain::KeyEntry& entry : explain::keyEntries()) {
        EXPECT_NE(page.find("- `" + entry.key + "` in"), std::string::npos) << entry.key;
    }
    for (const explain::OptionEntry& entry : explain::optionEntries()) {
        EXPECT_NE(page.find("`" + entry.option), std::string::npos) << entry.option;
    }
}

}  // namespace
