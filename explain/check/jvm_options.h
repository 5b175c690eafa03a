#pragma once

#include <optional>
#include <string>

namespace explain {

enum class JvmVendor { unknown, hotSpot };

struct JvmOptionProblem {
    bool isFatal = false;
    std::string text;
    std::string consequence;
    std::string remedy;
};

// What is wrong with an option, as far as its text and the vendor of the JVM say; nothing if it may be right.
std::optional<JvmOptionProblem> checkJvmOption(const std::string& option, JvmVendor vendor);

// True if the option begins like a -X option of a JVM.
bool isNamedLikeJvmOption(const std::string& option);

}  // namespace explain
