#include "contract/children.h"
#include "contract/contract.h"

namespace {

using contract::Holder;
using contract::isWine;
using contract::letGo;
using contract::read;
using contract::startHolder;
using contract::take;
using contract::write;
using namespace platform;

// Files that somebody has open, and what others may do to them.
class Sharing : public contract::Contract {};

TEST_F(Sharing, AnOpenFileCanNeitherBeDeletedNorMoved) {
    onMachine([&] {
        write(in(L"a"), "x");
        Stream* stream = openStream(in(L"a"), "r");
        EXPECT_FAILS(deleteFile(in(L"a")), errorSharingViolation);
        EXPECT_FAILS(moveFile(in(L"a"), in(L"b"), moveWriteThrough), errorSharingViolation);
        EXPECT_TRUE(copyFile(in(L"a"), in(L"c"), true));
        closeStream(stream);
        EXPECT_TRUE(deleteFile(in(L"a")));
        EXPECT_EQ(read(in(L"a")), "(absent)");
    });
}

TEST_F(Sharing, AMoveDoesNotGoOverAnOpenFile) {
    onMachine([&] {
        write(in(L"new"), "new");
        write(in(L"old"), "old");
        Stream* stream = openStream(in(L"old"), "r");
        EXPECT_FAILS(moveFile(in(L"new"), in(L"old"), moveWriteThrough), errorAlreadyExists);
        EXPECT_EQ(take(stream, 10), "old");
        closeStream(stream);
        EXPECT_EQ(read(in(L"new")), "new");
    });
}

TEST_F(Sharing, ADirectoryWithAnOpenFileIsNotMoved) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "x");
        Stream* stream = openStream(in(L"d\\f"), "r");
        ASSERT_NE(stream, nullptr);
        if (!isWine()) {  // Wine moves it, as the system below it does
            EXPECT_FAILS(moveFile(in(L"d"), in(L"e"), 0), errorAccessDenied);
        }
        closeStream(stream);
    });
}

TEST_F(Sharing, AFileThatIsNotSharedCannotBeOpenedAgain) {
    onMachine([&] {
        write(in(L"f"), "x");
        const Handle only =
            createFile(in(L"f"), accessRead | accessWrite, 0, openExistingFile, attributeNormal);
        ASSERT_NE(only, Handle::none);
        EXPECT_EQ(openStream(in(L"f"), "r"), nullptr);
        EXPECT_EQ(lastError(), errorSharingViolation);
        EXPECT_TRUE(fileAttributes(in(L"f")));
        closeHandle(only);
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(Sharing, SharingIsCheckedBothWays) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* stream = openStream(in(L"f"), "r+");
        ASSERT_NE(stream, nullptr);
        EXPECT_FAILS(createFile(in(L"f"), accessRead, shareRead, openExistingFile, 0) != Handle::none,
                     errorSharingViolation);
        const Handle shared = createFile(in(L"f"), accessRead, shareRead | shareWrite, openExistingFile, 0);
        EXPECT_NE(shared, Handle::none);
        closeHandle(shared);
        closeStream(stream);
    });
}

TEST_F(Sharing, ACopyReadsAFileThatOthersWrite) {
    onMachine([&] {
        Stream* writer = openStream(in(L"f"), "w");
        EXPECT_TRUE(writeStream(writer, "text"));
        EXPECT_TRUE(flushStream(writer));
        EXPECT_TRUE(copyFile(in(L"f"), in(L"g"), true)) << lastError();
        EXPECT_EQ(read(in(L"g")), "text");
        closeStream(writer);
    });
}

TEST_F(Sharing, ACopyGoesOverAFileThatOthersRead) {
    onMachine([&] {
        write(in(L"f"), "new");
        write(in(L"g"), "older");
        Stream* reader = openStream(in(L"g"), "r");
        EXPECT_TRUE(copyFile(in(L"f"), in(L"g"), false)) << lastError();
        EXPECT_EQ(take(reader, 10), "new");
        closeStream(reader);
    });
}

TEST_F(Sharing, ACopyNeedsASharedSource) {
    onMachine([&] {
        write(in(L"f"), "x");
        const Handle only = createFile(in(L"f"), accessRead, 0, openExistingFile, attributeNormal);
        EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), false), errorSharingViolation);
        closeHandle(only);
        EXPECT_FALSE(fileAttributes(in(L"g")));
    });
}

TEST_F(Sharing, AnotherProcessKeepsAFileInItsPlace) {
    onMachine([&] {
        write(in(L"f"), "x");
        const Holder holder = startHolder(scratch, L"lock", in(L"f"));
        EXPECT_FAILS(deleteFile(in(L"f")), errorSharingViolation);
        EXPECT_FAILS(moveFile(in(L"f"), in(L"g"), 0), errorSharingViolation);
        EXPECT_FAILS(createFile(in(L"f"), accessRead, 0, openExistingFile, 0) != Handle::none,
                     errorSharingViolation);
        letGo(holder);
        EXPECT_TRUE(moveFile(in(L"f"), in(L"g"), 0));
        EXPECT_TRUE(deleteFile(in(L"g")));
    });
}

TEST_F(Sharing, AChildDoesNotInheritOpenFiles) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* stream = openStream(in(L"f"), "r+");
        const Handle file = createFile(in(L"g"), accessWrite, 0, openFileAlways, attributeNormal);
        const Holder child = startHolder(scratch, L"semaphore", L"Global\\zl-contract-files");
        EXPECT_TRUE(closeStream(stream));
        closeHandle(file);
        EXPECT_TRUE(deleteFile(in(L"f"))) << lastError();
        EXPECT_TRUE(deleteFile(in(L"g"))) << lastError();
        letGo(child);
    });
}

}  // namespace
