#include "properties/launcher_options.h"

#include <gtest/gtest.h>

#include <string>

#include "support/text.h"

namespace {

using launchertest::toUtf8;
using zellauncher::Arguments;
using zellauncher::FirstRun;
using zellauncher::keptOnFirstRun;
using zellauncher::LauncherOption;
using zellauncher::optionAt;
using zellauncher::PassThrough;
using zellauncher::RestartStorage;

// What happens to one option: the first two as optionAt reports them, the last as keptOnFirstRun does.
struct Treatment {
    const wchar_t* option;
    PassThrough passThrough;
    RestartStorage restartStorage;
    FirstRun firstRun;
};

const Treatment treatments[] = {
    {L"-version", PassThrough::asArgument, RestartStorage::stored, FirstRun::dropped},
    {L"-dcommand_only", PassThrough::asArgument, RestartStorage::stored, FirstRun::dropped},
    {L"-maxargcnt", PassThrough::asArgument, RestartStorage::stored, FirstRun::dropped},
    {L"-config", PassThrough::asArgument, RestartStorage::stored, FirstRun::dropped},
    {L"-provManifest", PassThrough::asArgument, RestartStorage::stored, FirstRun::dropped},
    {L"-zelLauncherWait", PassThrough::asArgument, RestartStorage::stored, FirstRun::dropped},
    {L"-resetconfig", PassThrough::dropped, RestartStorage::dropped, FirstRun::dropped},
    {L"-restart", PassThrough::dropped, RestartStorage::dropped, FirstRun::dropped},
    {L"-zel_old_pid", PassThrough::droppedWithValue, RestartStorage::droppedWithValue, FirstRun::dropped},
    {L"-data", PassThrough::droppedWithValue, RestartStorage::storedAsFullPath, FirstRun::keptWithValue},
    {L"-configuration", PassThrough::droppedWithValue, RestartStorage::stored, FirstRun::dropped},
    {L"-vm", PassThrough::droppedWithValue, RestartStorage::stored, FirstRun::dropped},
    {L"-perfJar", PassThrough::asArgument, RestartStorage::stored, FirstRun::dropped},
    {L"-plugincustomization", PassThrough::asOption, RestartStorage::stored, FirstRun::dropped},
    {L"-application", PassThrough::asOption, RestartStorage::stored, FirstRun::dropped},
    {L"-product", PassThrough::asOption, RestartStorage::stored, FirstRun::dropped},
    {L"-personality", PassThrough::asOption, RestartStorage::stored, FirstRun::dropped},
    {L"-debug", PassThrough::asArgument, RestartStorage::stored, FirstRun::kept},
    {L"-console", PassThrough::asArgument, RestartStorage::stored, FirstRun::kept},
    {L"-consoleLog", PassThrough::asArgument, RestartStorage::stored, FirstRun::kept},  // like -console
    {L"-noExit", PassThrough::asArgument, RestartStorage::stored, FirstRun::kept},
};

class EachOption : public ::testing::TestWithParam<Treatment> {};

TEST_P(EachOption, IsPassedToThePlatformByItsRule) {
    const LauncherOption* option = optionAt(1, {L"prog", GetParam().option});
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->name, std::wstring(GetParam().option));
    EXPECT_EQ(option->passThrough, GetParam().passThrough);
}

TEST_P(EachOption, IsStoredForARestartByItsRule) {
    const LauncherOption* option = optionAt(1, {L"prog", GetParam().option});
    ASSERT_NE(option, nullptr);
    EXPECT_EQ(option->restartStorage, GetParam().restartStorage);
}

TEST_P(EachOption, IsKeptOnAFirstRunByItsRule) {
    const LauncherOption* option = keptOnFirstRun(GetParam().option);
    EXPECT_EQ(option != nullptr ? option->firstRun : FirstRun::dropped, GetParam().firstRun);
}

TEST_P(EachOption, IsAnOptionAtItsFirstOccurrenceOnly) {
    const Arguments arguments = {L"prog", L"x", GetParam().option, L"y", GetParam().option};
    EXPECT_EQ(optionAt(1, arguments), nullptr);
    EXPECT_NE(optionAt(2, arguments), nullptr);
    EXPECT_EQ(optionAt(3, arguments), nullptr);
    EXPECT_EQ(optionAt(4, arguments), nullptr);
}

TEST_P(EachOption, IsNoOptionAsTheProgram) {
    const Arguments arguments = {GetParam().option, GetParam().option};
    EXPECT_EQ(optionAt(0, arguments), nullptr);
    EXPECT_NE(optionAt(1, arguments), nullptr);
}

TEST_P(EachOption, IsComparedWholeInACommand) {
    const std::wstring name = GetParam().option;
    EXPECT_EQ(optionAt(1, {L"prog", name + L"="}), nullptr);
    EXPECT_EQ(optionAt(1, {L"prog", L"-" + name}), nullptr);
    EXPECT_EQ(optionAt(1, {L"prog", name.substr(1)}), nullptr);
}

INSTANTIATE_TEST_SUITE_P(LauncherOptions, EachOption, ::testing::ValuesIn(treatments),
                         [](const auto& row) { return toUtf8(row.param.option).substr(1); });

TEST(LauncherOptions, DifferentOptionsAreEachFound) {
    const Arguments arguments = {L"prog", L"-data", L"-debug", L"-data", L"-vm"};
    EXPECT_EQ(optionAt(1, arguments)->name, std::wstring(L"-data"));
    EXPECT_EQ(optionAt(2, arguments)->name, std::wstring(L"-debug"));
    EXPECT_EQ(optionAt(3, arguments), nullptr);
    EXPECT_EQ(optionAt(4, arguments)->name, std::wstring(L"-vm"));
}

TEST(LauncherOptions, UnknownArgumentsAreNoOptions) {
    for (const wchar_t* argument : {L"", L"-", L"x", L"-Data", L"-dataset", L"-debugFile", L"-vmargs"}) {
        EXPECT_EQ(optionAt(1, {L"prog", argument}), nullptr) << toUtf8(argument);
    }
}

TEST(KeptOnFirstRun, FindsTheOptionByItsPrefix) {
    const struct {
        const wchar_t* argument;
        const wchar_t* option;
        FirstRun firstRun;
    } cases[] = {
        {L"-data", L"-data", FirstRun::keptWithValue},   {L"-dataset", L"-data", FirstRun::keptWithValue},
        {L"-data=x", L"-data", FirstRun::keptWithValue}, {L"-debug", L"-debug", FirstRun::kept},
        {L"-debugFile", L"-debug", FirstRun::kept},      {L"-console", L"-console", FirstRun::kept},
        {L"-consoleLog", L"-console", FirstRun::kept},   {L"-consoles", L"-console", FirstRun::kept},
        {L"-noExit", L"-noExit", FirstRun::kept},        {L"-noExitCode", L"-noExit", FirstRun::kept},
    };
    for (const auto& [argument, option, firstRun] : cases) {
        const LauncherOption* kept = keptOnFirstRun(argument);
        ASSERT_NE(kept, nullptr) << toUtf8(argument);
        EXPECT_EQ(kept->name, std::wstring(option)) << toUtf8(argument);
        EXPECT_EQ(kept->firstRun, firstRun) << toUtf8(argument);
    }
}

TEST(KeptOnFirstRun, IsNullForAnyOtherArgument) {
    for (const wchar_t* argument : {L"", L"-", L"-dat", L"-Data", L" -data", L"x-data", L"data", L"-noexit",
                                    L"-versions", L"-configx", L"-restarted", L"-vmargs"}) {
        EXPECT_EQ(keptOnFirstRun(argument), nullptr) << toUtf8(argument);
    }
}

}  // namespace
