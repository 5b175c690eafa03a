#include "explain/file_tree.h"

#include <map>
#include <memory>

#include "explain/encoding.h"
#include "explain/html.h"
#include "explain/names.h"
#include "explain/text_diff.h"

namespace explain {

namespace {

struct Node {
    std::map<std::wstring, std::unique_ptr<Node>> children;
    const FileChange* file = nullptr;
    const char* directoryChange = nullptr;  // made or removed
};

Node& nodeAt(Node& root, const std::wstring& path) {
    Node* node = &root;
    for (std::size_t begin = 0; begin < path.size();) {
        const std::size_t end = std::min(path.find(L'\\', begin), path.size());
        std::unique_ptr<Node>& child = node->children[path.substr(begin, end - begin)];
        if (!child) {
            child = std::make_unique<Node>();
        }
        node = child.get();
        begin = end + 1;
    }
    return *node;
}

bool isText(const std::string& content) {
    return isUtf8(content) && content.find('\0') == std::string::npos;
}

std::string contentOf(const FileChange& file) {
    if (file.kind == FileChange::Kind::changed && isText(file.content) && isText(file.formerContent)) {
        std::string difference;
        for (const std::string& line : diffOf(file.formerContent, file.content)) {
            difference += line + "\n";
        }
        return element("pre", "class=\"content\"", escaped(difference));
    }
    if (file.content.empty()) {
        return element("p", "class=\"dim\"", "The file is empty.");
    }
    return isText(file.content) ? element("pre", "class=\"content\"", escaped(file.content))
                                : element("pre", "class=\"content\"", "Base64: " + toBase64(file.content));
}

std::string badge(const std::string& change) {
    return element("span", "class=\"change " + change + "\"", change) + " ";
}

std::string fileItem(const std::wstring& name, const FileChange& file) {
    std::string label = badge(nameOf(file.kind)) + element("code", "", escaped(name));
    if (!file.from.empty()) {
        label += element("span", "class=\"place\"", " from " + escaped(file.from));
    }
    if (file.isDirectory || file.kind == FileChange::Kind::removed) {
        return element("li", "data-row", label);
    }
    return element("li", "data-row", element("details", "", element("summary", "", label) + contentOf(file)));
}

// A directory that is only on the way to another one shares its line.
std::string listOf(const Node& node);

std::string directoryItem(std::wstring name, const Node* node) {
    while (node->children.size() == 1 && !node->children.begin()->second->file && !node->directoryChange) {
        name += L"\\" + node->children.begin()->first;
        node = node->children.begin()->second.get();
    }
    const std::string label = (node->directoryChange != nullptr ? badge(node->directoryChange) : "") +
                              element("code", "", escaped(name + L"\\"));
    if (node->children.empty()) {
        return element("li", "data-row", label);
    }
    return element("li", "data-row",
                   element("details", "open", element("summary", "", label) + listOf(*node)));
}

std::string listOf(const Node& node) {
    std::string items;
    for (const auto& [name, child] : node.children) {
        if (child->file != nullptr) {
            items += fileItem(name, *child->file);
        }
        if (child->file == nullptr || !child->children.empty()) {
            items += directoryItem(name, child.get());
        }
    }
    return element("ul", "", items);
}

}  // namespace

std::string writeFileTree(const Explanation& explanation) {
    Node root;
    for (const FileChange& file : explanation.files) {
        nodeAt(root, file.path).file = &file;
    }
    for (const std::wstring& directory : explanation.madeDirectories) {
        nodeAt(root, directory).directoryChange = nameOf(FileChange::Kind::made);
    }
    for (const std::wstring& directory : explanation.removedDirectories) {
        nodeAt(root, directory).directoryChange = nameOf(FileChange::Kind::removed);
    }
    if (root.children.empty()) {
        return element("p", "", "Nothing changes.");
    }
    return element("div", "class=\"tree\"", listOf(root));
}

}  // namespace explain
