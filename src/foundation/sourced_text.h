#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Text that knows where it was read. A tool that explains a start needs the source of every value, so on
// the simulated machine a SourcedText carries one all the way from a property file, an argument or a
// variable to the element of the command that it becomes. A text that is worked out from another one takes
// the source over. In the product a SourcedText is a plain text, and everything else here is nothing.
namespace zellauncher {

#ifdef ZELLAUNCHER_SIMULATION

struct Source {
    enum class Kind { file, argument, environment, found };

    Kind kind = Kind::file;
    std::wstring path;     // of the file that was read or found
    std::size_t line = 0;  // in a file, from 1; of an argument, its index
    std::wstring name;     // the key as written, the argument or the variable
};

class SourcedText : public std::wstring {
public:
    using std::wstring::basic_string;
    SourcedText() = default;
    SourcedText(std::wstring text) : std::wstring(std::move(text)) {}

    std::shared_ptr<const Source> source;  // null for a text of the launcher's own
};

// Where a text file is being read.
class FilePosition {
public:
    void open(const std::wstring& file) { path = std::make_shared<const std::wstring>(file); }
    void rewind() { line = 1; }
    void pass(std::string_view bytes) {
        line += static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '\n'));
    }
    void beginLine() { lineBegin = line; }

    std::shared_ptr<const std::wstring> path;
    std::size_t lineBegin = 1;  // number of the line that was read last

private:
    std::size_t line = 1;
};

inline void takeSource(SourcedText& text, const SourcedText& origin) {
    text.source = origin.source;
}

inline SourcedText withSourceOf(const SourcedText& origin, std::wstring text) {
    SourcedText sourced(std::move(text));
    sourced.source = origin.source;
    return sourced;
}

// The sources of texts that are stored without them.
class Sources {
public:
    void add(const SourcedText& text) { sources.push_back(text.source); }
    void set(std::size_t position, const SourcedText& text) { sources[position] = text.source; }
    SourcedText applyTo(std::size_t position, std::wstring text) const {
        SourcedText sourced(std::move(text));
        sourced.source = sources[position];
        return sourced;
    }

private:
    std::vector<std::shared_ptr<const Source>> sources;
};

inline SourcedText atLine(const FilePosition& position, const std::wstring& key, const std::wstring& text) {
    SourcedText sourced(text);
    sourced.source = std::make_shared<const Source>(
        Source{Source::Kind::file, position.path ? *position.path : L"", position.lineBegin, key});
    return sourced;
}

#else

using SourcedText = std::wstring;

struct FilePosition {
    void open(const std::wstring& /*file*/) {}
    void rewind() {}
    void pass(std::string_view /*bytes*/) {}
    void beginLine() {}
};

struct Sources {
    void add(const SourcedText& /*text*/) {}
    void set(std::size_t /*position*/, const SourcedText& /*text*/) {}
    SourcedText applyTo(std::size_t /*position*/, std::wstring text) const { return text; }
};

// The text was worked out from `origin`. The second form is for an expression.
inline void takeSource(const SourcedText& /*text*/, const SourcedText& /*origin*/) {}
template <typename Text>
Text&& withSourceOf(const SourcedText& /*origin*/, Text&& text) {
    return std::forward<Text>(text);
}

// The text is the value of this key at this position of a property file.
inline const std::wstring& atLine(const FilePosition& /*position*/, const std::wstring& /*key*/,
                                  const std::wstring& text) {
    return text;
}

#endif

}  // namespace zellauncher
