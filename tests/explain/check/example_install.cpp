#include "explain/check/example_install.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <iterator>

namespace explaintest {

namespace fs = std::filesystem;

namespace {

constexpr const char* base = "zel/eclipse/plugins/base_1.0/";
constexpr const char* beginningOfJar = "PK\x03\x04";

fs::path newDirectory() {
    static std::atomic<int> count = 0;
    return fs::temp_directory_path() /
           ("zelexplain-" + std::to_string(::getpid()) + "-" + std::to_string(++count));
}

std::string fromBase64(const std::string& text) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string bytes;
    unsigned bits = 0;
    int count = 0;
    for (const char letter : text) {
        const std::size_t digit = digits.find(letter);
        if (digit == std::string_view::npos) {
            break;
        }
        bits = (bits << 6U) | static_cast<unsigned>(digit);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes +=
                static_cast<char>(static_cast<unsigned char>((bits >> static_cast<unsigned>(count)) & 0xFFU));
        }
    }
    return bytes;
}

std::string utf16(const std::string& text) {
    std::string bytes = "\xFF\xFE";
    for (const char letter : text) {
        bytes += letter;
        bytes += '\0';
    }
    return bytes;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    const std::size_t found = text.find(what);
    EXPECT_NE(found, std::string::npos) << what;
    return found == std::string::npos ? text : text.replace(found, what.size(), with);
}

}  // namespace

std::string executableFile(bool isLibrary, unsigned processor) {
    constexpr std::size_t header = 64;
    std::string bytes(header + 24, '\0');
    bytes.replace(0, 2, "MZ");
    bytes[60] = static_cast<char>(header);
    bytes.replace(header, 2, "PE");
    bytes[header + 4] = static_cast<char>(static_cast<unsigned char>(processor & 0xFFU));
    bytes[header + 5] = static_cast<char>(static_cast<unsigned char>(processor >> 8U));
    bytes[header + 22] = 2;
    bytes[header + 23] = isLibrary ? 0x20 : 0;
    return bytes;
}

ExampleInstall::ExampleInstall() : root(newDirectory()) {
    fs::copy(EXAMPLE_INSTALL, root, fs::copy_options::recursive);
    const std::string native = std::string(base) + "win32/x86_64/";
    write("zel/zellauncher.exe", executableFile(false));
    write(native + "eclipse.exe", executableFile(false));
    write(native + "eclipse.ini", "--launcher.library\neclipse_11919.dll\n");
    write(native + "eclipse_11919.dll", executableFile(true));
    write(std::string(base) + "launcher.jar", beginningOfJar);
    write("jvm/bin/javaw.exe", executableFile(false));
    write("jvm/bin/java.exe", executableFile(false));
    write("bin/platform.dll", executableFile(true));
    for (const char* bundle : {"org.eclipse.osgi_3.18.0", "org.eclipse.equinox.common_3.16.0",
                               "org.eclipse.equinox.registry_3.11.0", "org.eclipse.equinox.app_1.6.0",
                               "com.example.platform_1.0.0"}) {
        write("zel/eclipse/plugins/" + std::string(bundle) + ".jar", beginningOfJar);
    }
}

ExampleInstall::~ExampleInstall() {
    std::error_code ignored;
    fs::remove_all(root, ignored);
}

std::string ExampleInstall::read(const std::string& name) const {
    std::ifstream stream(file(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void ExampleInstall::write(const std::string& name, const std::string& bytes) const {
    fs::create_directories(file(name).parent_path());
    std::ofstream stream(file(name), std::ios::binary);
    stream << bytes;
}

void ExampleInstall::change(const nlohmann::json& change) const {
    const std::string name = change.at("file");
    const auto text = [&](const char* key) { return change.at(key).get<std::string>(); };
    if (change.contains("replace")) {
        write(name, replaced(read(name), text("replace"), text("with")));
    } else if (change.contains("append")) {
        write(name, read(name) + text("append"));
    } else if (change.contains("prepend")) {
        write(name, text("prepend") + read(name));
    } else if (change.contains("appendBase64")) {
        write(name, read(name) + fromBase64(text("appendBase64")));
    } else if (change.contains("prependBase64")) {
        write(name, fromBase64(text("prependBase64")) + read(name));
    } else if (change.contains("content")) {
        write(name, text("content"));
    } else if (change.contains("remove")) {
        EXPECT_GT(fs::remove_all(file(name)), 0U) << name;
    } else if (change.contains("copyTo")) {
        write(text("copyTo"), read(name));
    } else if (change.contains("renameTo")) {
        fs::rename(file(name), file(text("renameTo")));
    } else if (change.contains("library")) {
        write(name, executableFile(true));
    } else if (change.contains("processor")) {
        write(name, executableFile(name.ends_with(".dll"), change["processor"].get<unsigned>()));
    } else if (change.contains("utf16")) {
        write(name, utf16(read(name)));
    } else if (change.contains("readOnly")) {
        fs::permissions(file(name), fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                        fs::perm_options::remove);
    } else {
        ADD_FAILURE() << "unknown change: " << change;
    }
}

}  // namespace explaintest
