#include "explain/check/jvm_options.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace explain {

namespace {

constexpr const char* endsAtOnce =
    "The JVM ends at once, so no platform comes up, although the launcher ends with 0.";

// Options that every JVM of Java 8 or later knows. An option with a value ends in its separator here.
constexpr std::string_view commonOptions[] = {"-Xbatch",
                                              "-Xbootclasspath/a:",
                                              "-Xcheck:",
                                              "-Xcomp",
                                              "-Xdebug",
                                              "-Xdiag",
                                              "-Xfuture",
                                              "-Xint",
                                              "-Xlog",
                                              "-Xmixed",
                                              "-Xmn",
                                              "-Xms",
                                              "-Xmx",
                                              "-Xnoagent",
                                              "-Xrs",
                                              "-Xrun",
                                              "-Xshare:",
                                              "-XshowSettings",
                                              "-Xss",
                                              "-Xverify",
                                              "-XX:",
                                              "-Xnoclassgc",
                                              "-Xinternalversion",
                                              "-Xdock:",
                                              "-Xincgc",
                                              "-Xloggc:",
                                              "-Xprof",
                                              "-Xeprof",
                                              "-Xbootclasspath:",
                                              "-X:",
                                              "-Xmaxjitcodesize",
                                              "-Xoss",
                                              "-Xsqnopause",
                                              "-Xconcgc",
                                              "-Xnoconcgc",
                                              "-Xusealtsigs"};

// Options of one other JVM, which HotSpot refuses.
constexpr std::string_view otherOptions[] = {"-Xalwaysclassgc",
                                             "-Xaot",
                                             "-Xargencoding",
                                             "-Xclassgc",
                                             "-Xcodecache",
                                             "-Xcompactexplicitgc",
                                             "-Xcompactgc",
                                             "-Xcompressedrefs",
                                             "-Xconcurrentbackground",
                                             "-Xconcurrentlevel",
                                             "-Xconcurrentslack",
                                             "-Xconmeter",
                                             "-Xdisableexcessivegc",
                                             "-Xdisableexplicitgc",
                                             "-Xdisablestringconstantgc",
                                             "-Xdump",
                                             "-Xenableexcessivegc",
                                             "-Xenableexplicitgc",
                                             "-Xenablestringconstantgc",
                                             "-Xfastresolve",
                                             "-Xgc:",
                                             "-Xgcmaxthreads",
                                             "-Xgcpolicy",
                                             "-Xgcthreads",
                                             "-Xgcwork",
                                             "-Xiss",
                                             "-Xjit",
                                             "-Xjni:",
                                             "-Xlinenumbers",
                                             "-Xloa",
                                             "-Xlockreservation",
                                             "-Xlockword",
                                             "-Xlp",
                                             "-Xmaxe",
                                             "-Xmaxf",
                                             "-Xmaxt",
                                             "-Xmca",
                                             "-Xmcrs",
                                             "-Xmine",
                                             "-Xminf",
                                             "-Xmint",
                                             "-Xmns",
                                             "-Xmnx",
                                             "-Xmo",
                                             "-Xmr",
                                             "-Xmso",
                                             "-Xmxcl",
                                             "-Xnoaot",
                                             "-Xnocompactexplicitgc",
                                             "-Xnocompactgc",
                                             "-Xnocompressedrefs",
                                             "-Xnojit",
                                             "-Xnolinenumbers",
                                             "-Xnoloa",
                                             "-Xnopartialcompactgc",
                                             "-Xnoquickstart",
                                             "-Xnosigcatch",
                                             "-Xnosigchain",
                                             "-XnotransparentHugePage",
                                             "-Xnuma",
                                             "-Xoptionsfile",
                                             "-Xpartialcompactgc",
                                             "-Xquickstart",
                                             "-Xrdbginfo",
                                             "-Xrealtime",
                                             "-Xsamplingexpirationtime",
                                             "-Xscdmx",
                                             "-Xscmaxaot",
                                             "-Xscmaxjitdata",
                                             "-Xscminaot",
                                             "-Xscminjitdata",
                                             "-Xscmx",
                                             "-Xshareclasses",
                                             "-Xsigcatch",
                                             "-Xsigchain",
                                             "-Xsigquittofile",
                                             "-Xsoftmx",
                                             "-Xsoftrefthreshold",
                                             "-Xssi",
                                             "-Xsyslog",
                                             "-Xtgc",
                                             "-Xthr",
                                             "-Xtlhprefetch",
                                             "-Xtrace",
                                             "-XtransparentHugePage",
                                             "-Xtune",
                                             "-Xverbosegclog",
                                             "-Xzero"};

template <std::size_t count>
bool beginsWithOneOf(std::string_view option, const std::string_view (&names)[count]) {
    return std::any_of(std::begin(names), std::end(names),
                       [&](std::string_view name) { return option.starts_with(name); });
}

bool isSize(std::string_view text) {
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    const std::string_view unit = text.substr(digits);
    return digits > 0 &&
           (unit.empty() || (unit.size() == 1 && unit.find_first_of("kKmMgGtT") != std::string_view::npos));
}

bool isFlag(std::string_view text) {
    const bool isSwitch = text.starts_with('+') || text.starts_with('-');
    const std::string_view name = isSwitch ? text.substr(1) : text.substr(0, text.find_first_of("=:"));
    const bool isName = !name.empty() && std::all_of(name.begin(), name.end(), [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
               (letter >= '0' && letter <= '9') || letter == '_';
    });
    return isName;
}

}  // namespace

std::optional<JvmOptionProblem> checkJvmOption(const std::string& option, JvmVendor vendor) {
    constexpr std::string_view sizes[] = {"-Xmx", "-Xms", "-Xss", "-Xmn"};
    if (!option.starts_with("-X")) {
        return std::nullopt;
    }
    const std::string_view text(option);
    if (beginsWithOneOf(text, otherOptions)) {
        if (vendor != JvmVendor::hotSpot) {
            return std::nullopt;
        }
        return JvmOptionProblem{true, "the JVM does not know the option " + option, endsAtOnce,
                                "Leave the option out, or ship the JVM that it is for."};
    }
    const auto* size = std::find_if(std::begin(sizes), std::end(sizes),
                                    [&](std::string_view name) { return text.starts_with(name); });
    if (size != std::end(sizes)) {
        if (isSize(text.substr(size->size()))) {
            return std::nullopt;
        }
        return JvmOptionProblem{
            true, "the option " + option + " has no size", endsAtOnce,
            "Write a number with k, m or g after it, as in " + std::string(*size) + "512m."};
    }
    if (text.starts_with("-XX:") && !isFlag(text.substr(4))) {
        return JvmOptionProblem{
            true, "the option " + option + " has no flag of the form +Name, -Name or Name=value", endsAtOnce,
            "Correct the option."};
    }
    if (text.starts_with("-Xbootclasspath/p:")) {
        return JvmOptionProblem{
            vendor == JvmVendor::hotSpot,
            "Xbootclasspath.prepend becomes -Xbootclasspath/p:, which Java 9 and later refuse", endsAtOnce,
            "Use Xbootclasspath.append."};
    }
    if (!beginsWithOneOf(text, commonOptions)) {
        return JvmOptionProblem{
            vendor == JvmVendor::hotSpot, "the option " + option + " is not known here",
            "A JVM that does not know it ends at once: no platform comes up, although the "
            "launcher ends with 0.",
            "Correct the option, or leave it out."};
    }
    return std::nullopt;
}

std::optional<JvmOptionProblem> checkJvmArgument(const std::string& argument, const std::string& former) {
    // Options that take the next argument.
    constexpr std::string_view withValue[] = {"-cp",
                                              "-classpath",
                                              "--class-path",
                                              "-p",
                                              "--module-path",
                                              "--upgrade-module-path",
                                              "--add-modules",
                                              "--limit-modules",
                                              "--add-exports",
                                              "--add-opens",
                                              "--add-reads",
                                              "--patch-module",
                                              "--enable-native-access",
                                              "-jar",
                                              "-m",
                                              "--module"};
    const bool isValue = std::find(std::begin(withValue), std::end(withValue), former) != std::end(withValue);
    const bool isOption = argument.starts_with('-') || argument.starts_with('@');
    if (isOption || isValue) {
        return std::nullopt;
    }
    return JvmOptionProblem{true, "the option " + argument + " does not begin with a hyphen",
                            "Java takes it as the name of the main class, so no platform comes up, although "
                            "the launcher ends with 0.",
                            "Write the option with its hyphen, or leave the value empty."};
}

bool isNamedLikeJvmOption(const std::string& option) {
    return beginsWithOneOf(option, commonOptions) || beginsWithOneOf(option, otherOptions);
}

}  // namespace explain
