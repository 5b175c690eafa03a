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

}  // namespace contract
