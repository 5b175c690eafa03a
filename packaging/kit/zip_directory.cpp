#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

// zip_directory DIRECTORY ARCHIVE: packs the files of a directory, uncompressed. The oldest Windows that the
// launcher runs on has no such program for a batch file.
namespace {

namespace fs = std::filesystem;

struct Entry {
    std::string name;  // UTF-8, with forward slashes
    std::uint32_t sum = 0;
    std::uint32_t size = 0;
    std::uint32_t offset = 0;
};

std::uint32_t sumOf(const std::string& content) {
    std::uint32_t sum = 0xFFFFFFFFU;
    for (const char byte : content) {
        sum ^= static_cast<std::uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? 0xEDB88320U : 0U);
        }
    }
    return ~sum;
}

void put(std::string& bytes, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i) {
        bytes += static_cast<char>(value >> (8 * i));
    }
}

// What the local header and the central directory have in common, from the version needed on.
std::string description(const Entry& entry) {
    constexpr std::uint32_t version = 20;
    constexpr std::uint32_t namesAreUtf8 = 1U << 11U;
    constexpr std::uint32_t firstOfJanuary1980 = 0x0021;
    std::string bytes;
    put(bytes, version, 2);
    put(bytes, namesAreUtf8, 2);
    put(bytes, 0, 2);  // stored
    put(bytes, 0, 2);
    put(bytes, firstOfJanuary1980, 2);
    put(bytes, entry.sum, 4);
    put(bytes, entry.size, 4);
    put(bytes, entry.size, 4);
    put(bytes, static_cast<std::uint32_t>(entry.name.size()), 2);
    put(bytes, 0, 2);
    return bytes;
}

std::string localHeader(const Entry& entry) {
    return "PK\x03\x04" + description(entry) + entry.name;
}

std::string centralHeader(const Entry& entry) {
    std::string bytes = "PK\x01\x02";
    put(bytes, 20, 2);
    bytes += description(entry);
    put(bytes, 0, 2);  // comment
    put(bytes, 0, 2);  // disk
    put(bytes, 0, 2);  // internal attributes
    put(bytes, 0, 4);  // external attributes
    put(bytes, entry.offset, 4);
    return bytes + entry.name;
}

std::string endOfDirectory(std::size_t count, std::size_t size, std::size_t offset) {
    std::string bytes("PK\x05\x06\0\0\0\0", 8);
    put(bytes, static_cast<std::uint32_t>(count), 2);
    put(bytes, static_cast<std::uint32_t>(count), 2);
    put(bytes, static_cast<std::uint32_t>(size), 4);
    put(bytes, static_cast<std::uint32_t>(offset), 4);
    put(bytes, 0, 2);
    return bytes;
}

std::string contentOf(const fs::path& file) {
    std::string content(static_cast<std::size_t>(fs::file_size(file)), '\0');
    std::ifstream stream(file, std::ios::binary);
    stream.read(content.data(), static_cast<std::streamsize>(content.size()));
    return content;
}

bool pack(const fs::path& directory, const fs::path& archive) {
    std::string bytes;
    std::string central;
    std::size_t count = 0;
    for (const fs::directory_entry& found : fs::recursive_directory_iterator(directory)) {
        if (!found.is_regular_file()) {
            continue;
        }
        const std::string content = contentOf(found.path());
        const std::u8string name = fs::relative(found.path(), directory).generic_u8string();
        const Entry entry = {std::string(name.begin(), name.end()), sumOf(content),
                             static_cast<std::uint32_t>(content.size()),
                             static_cast<std::uint32_t>(bytes.size())};
        bytes += localHeader(entry) + content;
        central += centralHeader(entry);
        ++count;
    }
    const std::size_t offset = bytes.size();
    bytes += central + endOfDirectory(count, central.size(), offset);
    std::ofstream stream(archive, std::ios::binary);
    stream << bytes;
    stream.close();
    return !stream.fail();
}

}  // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
    if (count != 3) {
        std::fputs("zip_directory DIRECTORY ARCHIVE\n", stderr);
        return 2;
    }
    return pack(arguments[1], arguments[2]) ? 0 : 1;
}
