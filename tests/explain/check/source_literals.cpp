#include "explain/check/source_literals.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace explaintest {

namespace {

bool isWordLetter(char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= '0' && letter <= '9') || letter == '_';
}

class Lexer {
public:
    Lexer(const std::string& source, const std::string& name) : text(source), file(name) {}

    std::vector<SourceLiteral> run() {
        while (position < text.size()) {
            step();
        }
        finish();
        return std::move(literals);
    }

private:
    const std::string& text;
    const std::string& file;
    std::size_t position = 0;
    std::vector<std::string> calls;
    std::string lastWord;
    char lastMark = '\0';
    bool isOpen = false;  // the last literal may go on
    SourceLiteral current;
    std::vector<SourceLiteral> literals;

    bool startsWith(const char* beginning) const {
        return text.compare(position, std::char_traits<char>::length(beginning), beginning) == 0;
    }

    void skipTo(const char* end, std::size_t length) {
        const std::size_t found = text.find(end, position + 2);
        position = found == std::string::npos ? text.size() : found + length;
    }

    void step() {
        if (startsWith("//") || startsWith("#include")) {
            skipTo("\n", 0);
        } else if (startsWith("/*")) {
            skipTo("*/", 2);
        } else if (text[position] == '"') {
            takeLiteral();
        } else if (text[position] == '\'') {
            takeCharacter();
        } else if (isWordLetter(text[position])) {
            takeWord();
        } else {
            takeMark();
        }
    }

    void takeLiteral() {
        if (!isOpen) {
            current = {"", file, calls.empty() ? "" : calls.back(), lastMark == '('};
            isOpen = true;
        }
        for (++position; position < text.size() && text[position] != '"'; ++position) {
            current.text += text[position] == '\\' ? escaped() : text[position];
        }
        ++position;
    }

    char escaped() {
        ++position;
        switch (text[position]) {
            case 'n':
                return '\n';
            case 'r':
                return '\r';
            case 't':
                return '\t';
            case '0':
                return '\0';
            default:
                return text[position];
        }
    }

    void takeCharacter() {
        finish();
        position += text[position + 1] == '\\' ? 2U : 1U;
        position = text.find('\'', position + 1);
        position = position == std::string::npos ? text.size() : position + 1;
        lastMark = '\'';
    }

    void takeWord() {
        const std::size_t begin = position;
        while (position < text.size() && isWordLetter(text[position])) {
            ++position;
        }
        const std::string word = text.substr(begin, position - begin);
        const bool isPrefix =
            position < text.size() && text[position] == '"' && (word == "L" || word == "u8");
        if (!isPrefix) {
            finish();
            lastWord = word;
            lastMark = 'a';
        }
    }

    void takeMark() {
        const char mark = text[position++];
        if (mark == ' ' || mark == '\n' || mark == '\r' || mark == '\t') {
            return;
        }
        finish();
        if (mark == '(') {
            calls.push_back(lastMark == 'a' ? lastWord : std::string());
        } else if (mark == ')' && !calls.empty()) {
            calls.pop_back();
        }
        lastMark = mark;
    }

    void finish() {
        if (isOpen) {
            literals.push_back(current);
            lastMark = '"';
        }
        isOpen = false;
    }
};

}  // namespace

std::vector<SourceLiteral> literalsOf(const std::string& source, const std::string& file) {
    return Lexer(source, file).run();
}

std::vector<SourceLiteral> launcherLiterals() {
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(LAUNCHER_SOURCES)) {
        const std::string ending = entry.path().extension().string();
        if (ending == ".cpp" || ending == ".h") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<SourceLiteral> all;
    for (const fs::path& path : files) {
        std::ifstream stream(path, std::ios::binary);
        const std::string source((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
        const std::vector<SourceLiteral> found =
            literalsOf(source, fs::relative(path, LAUNCHER_SOURCES).generic_string());
        all.insert(all.end(), found.begin(), found.end());
    }
    return all;
}

}  // namespace explaintest
