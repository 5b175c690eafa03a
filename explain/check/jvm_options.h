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

// What is wrong with an argument of the JVM that follows another one, which may take it as its value.
std::optional<JvmOptionProblem> checkJvmArgument(const std::string& argument, const std::string& former);

// True if the option begins like a -X option of a JVM.
bool isNamedLikeJvmOption(const std::string& option);

}  // namespace explain
