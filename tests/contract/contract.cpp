#include "contract/contract.h"

namespace contract {

void write(const std::wstring& path, const std::string& content) {
    platform::Stream* stream = platform::openStream(path, "w");
    ASSERT_NE(stream, nullptr) << platform::lastError();
    EXPECT_TRUE(platform::writeStream(stream, content));
    EXPECT_TRUE(platform::closeStream(stream));
}

std::string read(const std::wstring& path) {
    platform::Stream* stream = platform::openStream(path, "r");
    if (stream == nullptr) {
        return "(absent)";
    }
    std::string content;
    for (std::string part = readUpTo(stream, 512); !part.empty(); part = readUpTo(stream, 512)) {
        content += part;
    }
    platform::closeStream(stream);
    return content;
}

std::string readUpTo(platform::Stream* stream, std::size_t count) {
    std::string buffer(count, '\0');
    buffer.resize(platform::readStream(stream, buffer.data(), count).count);
    return buffer;
}

std::string unitBytes(const std::wstring& text) {
    std::string bytes;
    for (const wchar_t unit : text) {
        bytes += static_cast<char>(static_cast<unsigned>(unit) & 0xFFU);
        bytes += static_cast<char>((static_cast<unsigned>(unit) >> 8U) & 0xFFU);
    }
    return bytes;
}

void makeFileWith(const std::wstring& path, std::uint32_t attributes) {
    const platform::Handle file = platform::createFile(path, platform::accessRead | platform::accessWrite, 0,
                                                       platform::openFileAlways, attributes);
    EXPECT_NE(file, platform::Handle::none) << platform::lastError();
    platform::closeHandle(file);
}

bool hasAttribute(const std::wstring& path, std::uint32_t attribute) {
    return (platform::fileAttributes(path).value_or(0) & attribute) != 0;
}

std::vector<std::wstring> namesMatching(const std::wstring& pattern) {
    std::vector<std::wstring> names;
    const platform::FirstMatch first = platform::findFirst(pattern);
    if (first.handle == platform::FindHandle::none) {
        return names;
    }
    names.push_back(first.entry.name);
    while (const auto entry = platform::findNext(first.handle)) {
        names.push_back(entry->name);
    }
    EXPECT_EQ(platform::lastError(), platform::errorNoMoreFiles);
    platform::findClose(first.handle);
    return names;
}

}  // namespace contract
