#include "javalaunch/platform_environment.h"

#include <functional>
#include <optional>

#include "platform/environment.h"
#include "support/faults.h"
#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::ExistingValue;

class PlatformEnvironment : public javalaunchtest::CommandTest {
protected:
    std::optional<std::wstring> valueAfter(const std::wstring& name, const std::function<void()>& section) {
        std::optional<std::wstring> value;
        write([&] {
            section();
            value = platform::environmentValue(name);
        });
        return value;
    }
    std::optional<std::wstring> pathAfter() {
        return valueAfter(L"PATH", [&] { zellauncher::applyLibraryPath(install); });
    }
    std::wstring libraryPath() const {
        const std::wstring* value = zellauncher::lookupProperty(L"-Djava.library.path", install);
        return value != nullptr ? *value : L"(absent)";
    }
};

constexpr const wchar_t* internalKey = L"com.mivel.zel.core.internal.librarypath";
constexpr const wchar_t* initialPath = L"C:\\Windows\\System32";

TEST_F(PlatformEnvironment, PathHasThreeParts) {
    set(install, L"library.path.append", L"C:/x");
    EXPECT_EQ(pathAfter(), L"C:/x");
    set(install, L"library.path.prepend", L"C:\\p");
    set(install, internalKey, L"i");
    EXPECT_EQ(pathAfter(), L"C:\\p;i;C:/x");
    EXPECT_EQ(libraryPath(), L"(absent)");
    set(install, internalKey, L"");
    EXPECT_EQ(pathAfter(), L"C:\\p;;C:/x");
}

TEST_F(PlatformEnvironment, EmptyPartsAreKept) {
    set(install, L"library.path.prepend", L"");
    set(install, L"library.path.append", L"");
    set(install, L"jvm.library.path", L"j");
    EXPECT_EQ(pathAfter(), L";");
    EXPECT_EQ(libraryPath(), L"j;;");
    install = {{L"library.path.append", L""}};
    EXPECT_EQ(pathAfter(), std::nullopt);  // setting an empty value removes the variable
}

TEST_F(PlatformEnvironment, InternalPartAloneDoesNotChangePath) {
    set(install, internalKey, L"i");
    set(install, L"jvm.library.path", L"C:\\j");
    EXPECT_EQ(pathAfter(), initialPath);
    EXPECT_EQ(libraryPath(), L"C:/j;i");
}

TEST_F(PlatformEnvironment, JvmLibraryPathHasForwardSlashesAndNoQuotes) {
    set(install, L"jvm.library.path", L"\"C:\\j\"");
    set(install, L"library.path.prepend", L"C:\\p");
    EXPECT_EQ(pathAfter(), L"C:\\p");
    EXPECT_EQ(libraryPath(), L"C:/j;C:/p");
    EXPECT_EQ(install.back().key, L"-Djava.library.path");
}

TEST_F(PlatformEnvironment, JvmLibraryPathAloneEndsInASemicolon) {
    set(install, L"jvm.library.path", L"C:/j");
    EXPECT_EQ(pathAfter(), initialPath);
    EXPECT_EQ(libraryPath(), L"C:/j;");
}

TEST_F(PlatformEnvironment, EmptyJvmLibraryPathAddsNothing) {
    set(install, L"jvm.library.path", L"");
    pathAfter();
    EXPECT_EQ(libraryPath(), L"(absent)");
}

TEST_F(PlatformEnvironment, PropertyOfTheFileComesFirst) {
    install = {{L"-Djava.library.path", L"own"}, {L"jvm.library.path", L"C:/j"}};
    pathAfter();
    EXPECT_EQ(libraryPath(), L"own");
    EXPECT_EQ(install.back().value, L"C:/j;");
}

TEST_F(PlatformEnvironment, VariablesAreUnsetThenSet) {
    install = {{L"env.set.FOO", L"1"},     {L"env.unset.FOO", L"ignored"}, {L"env.unset.USERNAME", L""},
               {L"env.set.PATH", L"mine"}, {L"env.setup", L"odd"},         {L"env.set.TEMP", L""},
               {L"env.set", L"x"},         {L"env.unset", L"x"},           {L"env.unset.NEVER", L""}};
    machine.setEnvironment(L"FOO", L"0");
    const auto section = [&] { zellauncher::applyEnvironment(install); };
    EXPECT_EQ(valueAfter(L"FOO", section), L"1");
    EXPECT_EQ(valueAfter(L"USERNAME", section), std::nullopt);
    EXPECT_EQ(valueAfter(L"PATH", section), L"mine");
    EXPECT_EQ(valueAfter(L"p", section), L"odd");
    EXPECT_EQ(valueAfter(L"TEMP", section), std::nullopt);
    EXPECT_EQ(outcome.processEnd().status, 0U);
    // The keys without a name are ignored.
    EXPECT_FALSE(hasOperationWith(L"=x"));
    EXPECT_FALSE(hasOperationWith(L"="));
}

TEST_F(PlatformEnvironment, FailedSetAndUnsetAreReported) {
    machine.setEnvironment(L"A", L"1");
    machine.inject(launchertest::failingFrom("putEnvironmentText", platform::errorAccessDenied));
    runQuietly([] {
        EXPECT_EQ(zellauncher::setEnvironmentValue(L"A", L"2", ExistingValue::isReplaced), -1);
        EXPECT_EQ(zellauncher::unsetEnvironmentValue(L"A"), -1);
        EXPECT_EQ(platform::environmentValue(L"A"), L"1");
    });
}

TEST_F(PlatformEnvironment, SetAndUnsetReportTheirResult) {
    runQuietly([&] {
        EXPECT_EQ(zellauncher::setEnvironmentValue(L"A", L"1", ExistingValue::isKept), 0);
        EXPECT_EQ(zellauncher::setEnvironmentValue(L"A", L"2", ExistingValue::isKept), 0);
        EXPECT_EQ(platform::environmentValue(L"A"), L"1");
        EXPECT_EQ(zellauncher::setEnvironmentValue(L"A", L"2", ExistingValue::isReplaced), 0);
        EXPECT_EQ(platform::environmentValue(L"A"), L"2");
        EXPECT_EQ(zellauncher::unsetEnvironmentValue(L"a"), 0);
        EXPECT_EQ(platform::environmentValue(L"A"), std::nullopt);
        EXPECT_EQ(zellauncher::unsetEnvironmentValue(L"A"), 1);
    });
}

}  // namespace
