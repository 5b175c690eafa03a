#include "contract/contract.h"

namespace {

using contract::attributesOf;
using contract::isWine;
using contract::makeWith;
using contract::read;
using contract::write;
using namespace platform;

class Copies : public contract::Contract {};

TEST_F(Copies, ACopyKeepsTheContentAndLeavesATarget) {
    onMachine([&] {
        write(in(L"a"), "text");
        EXPECT_TRUE(copyFile(in(L"a"), in(L"b"), true));
        EXPECT_EQ(read(in(L"b")), "text");
        write(in(L"a"), "other");
        EXPECT_FAILS(copyFile(in(L"a"), in(L"b"), true), errorFileExists);
        EXPECT_EQ(read(in(L"b")), "text");
        EXPECT_TRUE(copyFile(in(L"a"), in(L"b"), false));
        EXPECT_EQ(read(in(L"b")), "other");
    });
}

TEST_F(Copies, ACopyKeepsTheAttributes) {
    onMachine([&] {
        makeWith(in(L"f"), attributeReadOnly);
        EXPECT_TRUE(copyFile(in(L"f"), in(L"g"), true));
        EXPECT_NE(attributesOf(in(L"g")) & attributeReadOnly, 0U);
    });
}

TEST_F(Copies, ACopyNeedsASourceFileAndADirectory) {
    onMachine([&] {
        EXPECT_FAILS(copyFile(in(L"gone"), in(L"b"), true), errorFileNotFound);
        write(in(L"a"), "x");
        EXPECT_FAILS(copyFile(in(L"a"), in(L"gone\\b"), true), errorPathNotFound);
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FAILS(copyFile(in(L"d"), in(L"e"), true), errorAccessDenied);
    });
}

TEST_F(Copies, ACopyFromAMissingDirectoryIsAMissingPath) {
    onMachine([&] { EXPECT_FAILS(copyFile(in(L"gone\\f"), in(L"g"), true), errorPathNotFound); });
}

TEST_F(Copies, ACopyDoesNotReplaceADirectory) {
    onMachine([&] {
        write(in(L"f"), "x");
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FALSE(copyFile(in(L"f"), in(L"d"), false));
        EXPECT_NE(attributesOf(in(L"d")) & attributeDirectory, 0U);
    });
}

TEST_F(Copies, ACopyOntoADirectoryAndAMissingOneAreToldApart) {
    onMachine([&] {
        write(in(L"f"), "x");
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FAILS(copyFile(in(L"f"), in(L"d"), true), errorFileExists);
        EXPECT_FAILS(copyFile(in(L"f"), in(L"d"), false), errorAccessDenied);
        EXPECT_FALSE(copyFile(in(L"f"), in(L"gone\\g"), false));
        EXPECT_FALSE(copyFile(in(L"f"), in(L"e\\"), false));
        EXPECT_FALSE(moveFile(in(L"f"), in(L"e\\"), 0));
        EXPECT_FALSE(fileAttributes(in(L"e")));
    });
}

TEST_F(Copies, AFileIsNotCopiedOntoItself) {
    onMachine([&] {
        write(in(L"f"), "x");
        EXPECT_FALSE(copyFile(in(L"f"), in(L"F"), false));
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(Copies, ACopyDoesNotReplaceAReadOnlyFile) {
    onMachine([&] {
        if (isWine()) {
            return;  // Wine leaves this to the system below it, whose superuser may write everything
        }
        write(in(L"f"), "new");
        makeWith(in(L"g"), attributeReadOnly);
        EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), false), errorAccessDenied);
        EXPECT_EQ(read(in(L"g")), "");
    });
}

TEST_F(Copies, ACopyDoesNotGoOverAHiddenFile) {
    onMachine([&] {
        write(in(L"f"), "new");
        closeHandle(createFile(in(L"g"), accessWrite, 0, openFileAlways, attributeHidden));
        if (!isWine()) {  // Wine copies over what is hidden
            EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), false), errorAccessDenied);
            EXPECT_EQ(read(in(L"g")), "");
        }
        EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), true), errorFileExists);
    });
}

}  // namespace
