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
    char buffer[512];
    for (std::size_t count = platform::readStream(stream, buffer, sizeof(buffer)); count > 0;
         count = platform::readStream(stream, buffer, sizeof(buffer))) {
        content.append(buffer, count);
    }
    platform::closeStream(stream);
    return content;
}

std::string take(platform::Stream* stream, std::size_t count) {
    std::string buffer(count, '\0');
    buffer.resize(platform::readStream(stream, buffer.data(), count));
    return buffer;
}

void makeWith(const std::wstring& path, std::uint32_t attributes) {
    const platform::Handle file = platform::createFile(path, platform::accessRead | platform::accessWrite, 0,
                                                       platform::openFileAlways, attributes);
    EXPECT_NE(file, platform::Handle::none) << platform::lastError();
    platform::closeHandle(file);
}

std::uint32_t attributesOf(const std::wstring& path) {
    return platform::fileAttributes(path).value_or(0);
}

std::vector<std::wstring> found(const std::wstring& pattern) {
    std::vector<std::wstring> names;
    platform::FindEntry entry;
    const platform::FindHandle handle = platform::findFirst(pattern, entry);
    if (handle == platform::FindHandle::none) {
        return names;
    }
    do {
        names.push_back(entry.name);
    } while (platform::findNext(handle, entry));
    EXPECT_EQ(platform::lastError(), platform::errorNoMoreFiles);
    platform::findClose(handle);
    return names;
}

}  // namespace contract
