#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/text.h"

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

using TextSource = std::shared_ptr<const Source>;  // null for a text of the launcher's own

class SourcedText : public std::wstring {
public:
    using std::wstring::basic_string;
    SourcedText() = default;
    SourcedText(std::wstring text) : std::wstring(std::move(text)) {}

    TextSource source;
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

inline TextSource sourceOf(const SourcedText& text) {
    return text.source;
}

inline SourcedText withSource(const TextSource& source, std::wstring text) {
    SourcedText sourced(std::move(text));
    sourced.source = source;
    return sourced;
}

inline SourcedText withSourceOf(const SourcedText& origin, std::wstring text) {
    return withSource(origin.source, std::move(text));
}

// The sources of texts that are stored without them.
class Sources {
public:
    void add(const TextSource& source) { sources.push_back(source); }
    void set(std::size_t position, const TextSource& source) { sources[position] = source; }
    SourcedText applyTo(std::size_t position, std::wstring text) const {
        return withSource(sources[position], std::move(text));
    }

private:
    std::vector<TextSource> sources;
};

inline TextSource sourceAt(const FilePosition& position, std::string_view key) {
    return std::make_shared<const Source>(
        Source{Source::Kind::file, position.path ? *position.path : L"", position.lineBegin, widen(key)});
}

#else

using SourcedText = std::wstring;

struct TextSource {};

struct FilePosition {
    void open(const std::wstring& /*file*/) {}
    void rewind() {}
    void pass(std::string_view /*bytes*/) {}
    void beginLine() {}
};

struct Sources {
    void add(const TextSource& /*source*/) {}
    void set(std::size_t /*position*/, const TextSource& /*source*/) {}
    SourcedText applyTo(std::size_t /*position*/, std::wstring text) const { return text; }
};

// The text was worked out from `origin`. The second form is for an expression.
inline void takeSource(const SourcedText& /*text*/, const SourcedText& /*origin*/) {}
template <typename Text>
Text&& withSourceOf(const SourcedText& /*origin*/, Text&& text) {
    return std::forward<Text>(text);
}

inline TextSource sourceOf(const SourcedText& /*text*/) {
    return {};
}

template <typename Text>
Text&& withSource(const TextSource& /*source*/, Text&& text) {
    return std::forward<Text>(text);
}

// The source of the value of this key at this position of a property file. The key is bytes.
inline TextSource sourceAt(const FilePosition& /*position*/, std::string_view /*key*/) {
    return {};
}

#endif

}  // namespace zellauncher
