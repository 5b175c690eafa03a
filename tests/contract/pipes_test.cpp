#include "platform/pipes.h"

#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/clock.h"

namespace contract {
namespace {

using namespace platform;

constexpr ErrorCode errorBrokenPipe = 109;
constexpr ErrorCode errorTimeout = 121;
constexpr ErrorCode errorPipeBusy = 231;
constexpr ErrorCode errorPipeClosing = 232;
constexpr const wchar_t* missingPipe = L"\\\\.\\pipe\\zl-contract-never";

class Pipes : public Contract {
protected:
    // The pipe of the last server. Each server has a new name, because the system may keep an old pipe
    // for a moment.
    std::wstring name;

    Holder startServer(int clients, const std::wstring& kind = L"pipe") {
        static int count = 0;
        name = L"\\\\.\\pipe\\zl-contract-" + std::to_wstring(tickCount()) + L"-" + std::to_wstring(++count);
        return startHolder(scratch, kind, name, clients);
    }
    // A server that reads its pipe only when it is released, and not at all without clients.
    Holder startFrozenServer(int clients) { return startServer(clients, L"unread"); }
    // A child whose million bytes do not fit into the buffer of a frozen server's pipe.
    Handle startBlockedClient(const std::wstring& writesAndSize = L"1 1000000") const {
        const Handle client = startChild(L"send " + name + L" " + writesAndSize).process;
        while (waitNamedPipe(name, 50)) {  // until the client is connected
            sleepMilliseconds(10);
        }
        EXPECT_FALSE(hasProcessEnded(client));
        return client;
    }
    static Handle open(const std::wstring& pipe) {
        return createFile(pipe, accessRead | accessWrite, 0, openExistingFile, attributeNormal);
    }
    // Opens the server's pipe, which must be free.
    Handle connect() const {
        const Handle client = open(name);
        EXPECT_NE(client, Handle::none) << lastError();
        return client;
    }
    // A whole client: waits, connects, writes and closes.
    void send(const std::string& text) const {
        ASSERT_TRUE(waitNamedPipe(name, waitForever)) << lastError();
        const Handle client = connect();
        EXPECT_TRUE(writePipe(client, text)) << lastError();
        closeHandle(client);
    }
    // What a client sent to the server, which has been released. The first client is 1.
    static std::string textOf(const Holder& server, int client) {
        return read(server.releaseFile + L"." + std::to_wstring(client));
    }
};

TEST_F(Pipes, WaitForAMissingPipeFailsAtOnce) {
    onMachine([&] {
        const std::uint32_t before = tickCount();
        EXPECT_FALSE(waitNamedPipe(missingPipe, waitForever));
        EXPECT_LT(tickCount() - before, 10000U);
    });
}

TEST_F(Pipes, MissingPipeIsFileNotFoundForAWait) {
    SKIP_UNDER_WINE("leaves no error code");
    onMachine([&] { EXPECT_FAILS(waitNamedPipe(missingPipe, waitForever), errorFileNotFound); });
}

TEST_F(Pipes, MissingPipeCannotBeOpened) {
    onMachine([&] { EXPECT_FAILS(open(missingPipe), errorFileNotFound); });
}

TEST_F(Pipes, WaitForAFreePipeSucceeds) {
    onMachine([&] {
        const Holder server = startServer(0);
        EXPECT_TRUE(waitNamedPipe(name, 1));
        release(server);
    });
}

TEST_F(Pipes, BytesArriveUnchanged) {
    onMachine([&] {
        const Holder server = startServer(1);
        std::string bytes;
        for (int i = 0; i < 256; ++i) {
            bytes += static_cast<char>(i);
        }
        bytes += "\r\n\x1A";
        send(bytes);
        release(server);
        EXPECT_EQ(textOf(server, 1), bytes);
    });
}

TEST_F(Pipes, TwoWritesArriveAsOneText) {
    onMachine([&] {
        const Holder server = startServer(1);
        const Handle client = connect();
        EXPECT_TRUE(writePipe(client, "one "));
        EXPECT_TRUE(writePipe(client, "text"));
        closeHandle(client);
        release(server);
        EXPECT_EQ(textOf(server, 1), "one text");
    });
}

TEST_F(Pipes, MebibyteArrivesWhole) {
    onMachine([&] {
        const Holder server = startServer(1);
        std::string bytes;
        for (int i = 0; i < 1024 * 1024; ++i) {
            bytes += static_cast<char>(i % 251);
        }
        send(bytes);
        release(server);
        EXPECT_TRUE(textOf(server, 1) == bytes);
    });
}

TEST_F(Pipes, ClientsAreServedInOrder) {
    onMachine([&] {
        const Holder server = startServer(3);
        send("first");
        send("second");
        send("third");
        release(server);
        EXPECT_EQ(textOf(server, 1), "first");
        EXPECT_EQ(textOf(server, 2), "second");
        EXPECT_EQ(textOf(server, 3), "third");
    });
}

TEST_F(Pipes, BusyPipeCannotBeOpened) {
    onMachine([&] {
        const Holder server = startServer(1);
        const Handle client = connect();
        EXPECT_FAILS(open(name), errorPipeBusy);
        closeHandle(client);
        release(server);
    });
}

TEST_F(Pipes, WaitForABusyPipeTimesOut) {
    onMachine([&] {
        const Holder server = startServer(1);
        const Handle client = connect();
        const std::uint32_t before = tickCount();
        EXPECT_FAILS(waitNamedPipe(name, 200), errorTimeout);
        EXPECT_GE(tickCount() - before, 150U);
        closeHandle(client);
        EXPECT_TRUE(waitNamedPipe(name, 30000));
        release(server);
    });
}

TEST_F(Pipes, NameIgnoresCase) {
    onMachine([&] {
        const Holder server = startServer(1);
        std::wstring otherCase = name;
        otherCase.replace(0, 14, L"\\\\.\\PIPE\\ZL-CO");
        EXPECT_TRUE(waitNamedPipe(otherCase, 1)) << lastError();
        const Handle client = open(otherCase);
        EXPECT_NE(client, Handle::none) << lastError();
        closeHandle(client);
        release(server);
    });
}

TEST_F(Pipes, PipeEndsWithItsServer) {
    onMachine([&] {
        release(startServer(0));
        EXPECT_FAILS(open(name), errorFileNotFound);
        EXPECT_FALSE(waitNamedPipe(name, 1));
    });
}

TEST_F(Pipes, WriteFailsOnceTheServerHasEnded) {
    onMachine([&] {
        const Holder server = startServer(0);
        const Handle client = connect();
        release(server);
        EXPECT_FAILS(writePipe(client, "late"), errorPipeClosing);
        closeHandle(client);
    });
}

TEST_F(Pipes, FrozenServerReadsLaterWhatFitsIntoItsBuffer) {
    onMachine([&] {
        const Holder server = startFrozenServer(1);
        send("a short text");
        release(server);
        EXPECT_EQ(textOf(server, 1), "a short text");
    });
}

TEST_F(Pipes, WriteOfMoreThanTheBufferWaitsForTheServer) {
    onMachine([&] {
        const Holder server = startFrozenServer(1);
        const Handle client = startBlockedClient();
        release(server);
        EXPECT_EQ(waitForExitCode(client), 0U);
        EXPECT_TRUE(textOf(server, 1) == std::string(1000000, 'x'));
    });
}

TEST_F(Pipes, SmallWritesFillTheBufferTogether) {
    onMachine([&] {
        const Holder server = startFrozenServer(1);
        const Handle client = startBlockedClient(L"1000 1000");
        release(server);
        EXPECT_EQ(waitForExitCode(client), 0U);
        EXPECT_TRUE(textOf(server, 1) == std::string(1000000, 'x'));
    });
}

// On Windows the client may be connected and not write yet.
TEST_F(Pipes, WaitingWriteFailsWhenTheServerEnds) {
    onMachine([&] {
        const Holder server = startFrozenServer(0);
        const Handle client = startBlockedClient();
        release(server);
        const ErrorCode error = waitForExitCode(client);
        EXPECT_TRUE(error == errorBrokenPipe || error == errorPipeClosing) << error;
    });
}

TEST_F(Pipes, FrozenServerAcceptsOneClient) {
    onMachine([&] {
        const Holder server = startFrozenServer(1);
        send("first");
        EXPECT_FAILS(waitNamedPipe(name, 200), errorTimeout);
        EXPECT_FAILS(open(name), errorPipeBusy);
        release(server);
        EXPECT_EQ(textOf(server, 1), "first");
    });
}

TEST_F(Pipes, WriteFailsWithoutAnOpenHandle) {
    onMachine([&] {
        EXPECT_FAILS(writePipe(Handle::none, "text"), errorInvalidHandle);
        const Holder server = startServer(1);
        const Handle client = connect();
        closeHandle(client);
        EXPECT_FAILS(writePipe(client, "text"), errorInvalidHandle);
        release(server);
    });
}

}  // namespace
}  // namespace contract
