#include "platform/console.h"

#include "contract/children.h"
#include "contract/contract.h"

namespace {

using contract::endOf;
using contract::isWine;
using contract::read;
using contract::startChild;
using namespace platform;

class Console : public contract::Contract {};

TEST_F(Console, ATitleOfAConsoleIsCutToItsRoom) {
    onMachine([&] {
        const std::wstring title = consoleTitle(4096);
        EXPECT_EQ(consoleTitle(title.size() + 1), title);
        EXPECT_LT(consoleTitle(3).size(), 3U);
    });
}

TEST_F(Console, AConsoleIsFoundByItsTitleAndStaysWhenItIsHidden) {
    onMachine([&] {
        if (isWine()) {
            return;  // Wine gives no console where it has no display
        }
        EXPECT_EQ(endOf(startChild(L"console zl-contract-title" + quoted(L"f"))), 0U);
        EXPECT_EQ(read(in(L"f")), "zl-contract-title found kept another ano");
    });
}

TEST_F(Console, WithoutAConsoleNothingFails) {
    onMachine([&] {
        const std::wstring title = consoleTitle(4096);
        setConsoleTitle(title);
        hideWindow(Window::none);
        EXPECT_EQ(findWindow(L"a title that no window has"), Window::none);
    });
}

}  // namespace
