#include "contract/children.h"
#include "contract/contract.h"
#include "platform/clock.h"
#include "platform/interprocess.h"

namespace {

using contract::Holder;
using contract::isWine;
using contract::letGo;
using contract::read;
using contract::startHolder;
using namespace platform;

constexpr ErrorCode errorTimeout = 121;
constexpr ErrorCode errorPipeBusy = 231;
constexpr ErrorCode errorPipeClosing = 232;

class Pipes : public contract::Contract {
protected:
    // Every case has a pipe of its own: the system may take a moment to forget a former one.
    std::wstring name;

    Holder serve(int clients) {
        static int count = 0;
        name = L"\\\\.\\pipe\\zl-contract-" + std::to_wstring(tickCount()) + L"-" + std::to_wstring(++count);
        return startHolder(scratch, L"pipe", name, clients);
    }
    static Handle connect(const std::wstring& pipe) {
        return createFile(pipe, accessRead | accessWrite, 0, openExistingFile, attributeNormal);
    }
    // A whole client: waits, connects, writes and goes.
    void send(const std::string& text) const {
        ASSERT_TRUE(waitNamedPipe(name, waitForever)) << lastError();
        const Handle client = connect(name);
        ASSERT_NE(client, Handle::none) << lastError();
        EXPECT_TRUE(writePipe(client, text)) << lastError();
        closeHandle(client);
    }
    static std::string textOf(const Holder& server, int client) {
        return read(server.go + L"." + std::to_wstring(client));
    }
};

TEST_F(Pipes, AMissingPipeIsNotWaitedFor) {
    onMachine([&] {
        const std::uint32_t before = tickCount();
        EXPECT_FALSE(waitNamedPipe(L"\\\\.\\pipe\\zl-contract-never", waitForever));
        if (!isWine()) {  // Wine gives no reason
            EXPECT_EQ(lastError(), errorFileNotFound);
        }
        EXPECT_LT(tickCount() - before, 10000U);
    });
}

TEST_F(Pipes, AMissingPipeCannotBeOpened) {
    onMachine(
        [&] { EXPECT_FAILS(connect(L"\\\\.\\pipe\\zl-contract-never") != Handle::none, errorFileNotFound); });
}

TEST_F(Pipes, AFreePipeIsThereAtOnce) {
    onMachine([&] {
        const Holder server = serve(0);
        EXPECT_TRUE(waitNamedPipe(name, 1));
        letGo(server);
    });
}

TEST_F(Pipes, ATextArrivesAsItIs) {
    onMachine([&] {
        const Holder server = serve(1);
        std::string bytes;
        for (int i = 0; i < 256; ++i) {
            bytes += static_cast<char>(i);
        }
        bytes += "\r\n\x1A";
        send(bytes);
        letGo(server);
        EXPECT_EQ(textOf(server, 1), bytes);
    });
}

TEST_F(Pipes, WhatIsWrittenInTwoPartsIsOneText) {
    onMachine([&] {
        const Holder server = serve(1);
        const Handle client = connect(name);
        ASSERT_NE(client, Handle::none) << lastError();
        EXPECT_TRUE(writePipe(client, "one "));
        EXPECT_TRUE(writePipe(client, "text"));
        closeHandle(client);
        letGo(server);
        EXPECT_EQ(textOf(server, 1), "one text");
    });
}

TEST_F(Pipes, AMebibyteArrivesWhole) {
    onMachine([&] {
        const Holder server = serve(1);
        std::string bytes;
        for (int i = 0; i < 1024 * 1024; ++i) {
            bytes += static_cast<char>(i % 251);
        }
        send(bytes);
        letGo(server);
        EXPECT_TRUE(textOf(server, 1) == bytes);
    });
}

TEST_F(Pipes, ClientsAreServedOneAfterTheOther) {
    onMachine([&] {
        const Holder server = serve(3);
        send("first");
        send("second");
        send("third");
        letGo(server);
        EXPECT_EQ(textOf(server, 1), "first");
        EXPECT_EQ(textOf(server, 2), "second");
        EXPECT_EQ(textOf(server, 3), "third");
    });
}

TEST_F(Pipes, ABusyPipeIsNotOpened) {
    onMachine([&] {
        const Holder server = serve(1);
        const Handle client = connect(name);
        ASSERT_NE(client, Handle::none) << lastError();
        EXPECT_FAILS(connect(name) != Handle::none, errorPipeBusy);
        closeHandle(client);
        letGo(server);
    });
}

TEST_F(Pipes, ABusyPipeIsWaitedForAsLongAsAsked) {
    onMachine([&] {
        const Holder server = serve(1);
        const Handle client = connect(name);
        ASSERT_NE(client, Handle::none) << lastError();
        const std::uint32_t before = tickCount();
        EXPECT_FAILS(waitNamedPipe(name, 200), errorTimeout);
        EXPECT_GE(tickCount() - before, 150U);
        closeHandle(client);
        EXPECT_TRUE(waitNamedPipe(name, 30000));
        letGo(server);
    });
}

TEST_F(Pipes, TheNameOfAPipeHasNoCase) {
    onMachine([&] {
        const Holder server = serve(1);
        std::wstring other = name;
        other.replace(0, 14, L"\\\\.\\PIPE\\ZL-CO");
        EXPECT_TRUE(waitNamedPipe(other, 1)) << lastError();
        const Handle client = connect(other);
        EXPECT_NE(client, Handle::none) << lastError();
        closeHandle(client);
        letGo(server);
    });
}

TEST_F(Pipes, APipeGoesWithTheProcessThatServesIt) {
    onMachine([&] {
        letGo(serve(0));
        EXPECT_FAILS(connect(name) != Handle::none, errorFileNotFound);
        EXPECT_FALSE(waitNamedPipe(name, 1));
    });
}

TEST_F(Pipes, WritingToAServerThatHasGoneFails) {
    onMachine([&] {
        const Holder server = serve(0);
        const Handle client = connect(name);
        ASSERT_NE(client, Handle::none) << lastError();
        letGo(server);
        EXPECT_FAILS(writePipe(client, "late"), errorPipeClosing);
        closeHandle(client);
    });
}

TEST_F(Pipes, WritingToNothingFails) {
    onMachine([&] {
        EXPECT_FAILS(writePipe(Handle::none, "text"), errorInvalidHandle);
        const Holder server = serve(1);
        const Handle client = connect(name);
        closeHandle(client);
        EXPECT_FAILS(writePipe(client, "text"), errorInvalidHandle);
        letGo(server);
    });
}

}  // namespace
