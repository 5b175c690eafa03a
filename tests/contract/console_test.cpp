#include "platform/console.h"

#include "contract/children.h"
#include "contract/contract.h"

namespace contract {
namespace {

using namespace platform;

class Console : public Contract {};

TEST_F(Console, TitleIsCutToTheCapacity) {
    onMachine([&] {
        const std::wstring title = consoleTitle(4096);
        EXPECT_EQ(consoleTitle(title.size() + 1), title);
        EXPECT_LT(consoleTitle(3).size(), 3U);
    });
}

TEST_F(Console, WindowIsFoundByItsTitleEvenWhenHidden) {
    SKIP_UNDER_WINE("has no console window without a display");
    onMachine([&] {
        EXPECT_EQ(runChild(L"console zl-contract-title" + quoted(L"f")), 0U);
        if (read(in(L"f")) == "terminal") {
            GTEST_SKIP() << "consoles are tabs of a terminal on this machine";
        }
        EXPECT_EQ(read(in(L"f")), "zl-contract-title found kept another ano");
    });
}

TEST_F(Console, MissingWindowIsNoFailure) {
    onMachine([&] {
        const std::wstring title = consoleTitle(4096);
        setConsoleTitle(title);
        hideWindow(Window::none);
        EXPECT_EQ(findWindow(L"a title that no window has"), Window::none);
    });
}

}  // namespace
}  // namespace contract
