#include "ipc/channel.h"

#include "ipc/bring_to_front.h"
#include "ipc/channel_names.h"
#include "ipc/message_format.h"
#include "ipc/window_request_handler.h"
#include "support/fields.h"
#include "support/files.h"
#include "support/seam.h"

#include <algorithm>
#include <random>
#include <string>
#include <thread>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", ConnectNamedPipe)
ZELSYS_SEAM(L"kernel32.dll", CreateFileW)
ZELSYS_SEAM(L"kernel32.dll", CreateMutexW)
ZELSYS_SEAM(L"kernel32.dll", GetOverlappedResult)
ZELSYS_SEAM(L"msvcrt.dll", _beginthreadex)
ZELSYS_SEAM(L"kernel32.dll", WaitForMultipleObjects)
ZELSYS_SEAM(L"kernel32.dll", WaitForSingleObject)
ZELSYS_SEAM(L"user32.dll", SetForegroundWindow)
ZELSYS_SEAM_NAME(L"kernel32.dll", GetTickCount64)

namespace {

using ipc::CInterprocessCommunicationWin;

const std::wstring kMutex = L"Global\\ZELSYS_CHANNEL_TEST", kPipe = L"zelsys-channel-test";

std::atomic<double> speed = 1; ///< Divides the time-outs of waits for I/O.
std::atomic<int> pauses = 0;   ///< Number of pauses after attempts. Each is shortened to a tenth.

/// Shortens waits and counts pauses. Call it before a listener starts: its thread uses the seams.
void watchWaits() {
    speed = 1;
    pauses = 0;
    WaitForMultipleObjectsSeam::fake = [](DWORD count, const HANDLE* objects, BOOL all, DWORD time) {
        return WaitForMultipleObjectsSeam::real(count, objects, all,
                                                time == INFINITE ? time : static_cast<DWORD>(time / speed));
    };
    WaitForSingleObjectSeam::fake = [](HANDLE object, DWORD time) {
        pauses += time == 300;
        return WaitForSingleObjectSeam::real(object, time == 300 ? 30 : time);
    };
}

/// Replies with the payload, unless `onEach` sets another reply.
struct Echo : ipc::IRequestHandler {
    void onRequest(std::uint32_t sender, const std::string& payload) override {
        lastSender = sender;
        largest = std::max(largest.load(), payload.size());
        ++requests;
        reply = payload;
        if (onEach)
            onEach();
    }
    std::atomic<std::uint32_t> lastSender = 0;
    std::atomic<std::size_t> largest = 0;
    std::atomic<int> requests = 0;
    std::function<void()> onEach;
};

/// Connects without the library. Retries while the listener handles another client.
win32::KernelHandle rawClient(const std::wstring& name = kPipe) {
    win32::KernelHandle pipe;
    for (int tries = 0; tries < 100'000 && !pipe; ++tries) {
        pipe.reset(CreateFileW((L"\\\\.\\pipe\\" + name).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                               OPEN_EXISTING, 0, nullptr));
        SwitchToThread();
    }
    return pipe;
}

struct Answer {
    std::uint32_t error = 0;
    std::string reply{};
};
ZELSYS_FIELDS(Answer, error, reply)

class Channel : public testing::Test {
protected:
    Channel() {
        watchWaits();
        server.setRequestHandler(&echo);
        EXPECT_TRUE(server.isFirstInstance());
        EXPECT_EQ(server.startServer(), 0u);
    }
    ~Channel() override {
        server.stop();
        testing_support::restoreSeams();
    }

    static Answer ask(const std::string& payload) {
        CInterprocessCommunicationWin client(kMutex, kPipe);
        EXPECT_FALSE(client.isFirstInstance());
        EXPECT_EQ(client.connectToServer(5000), 0u); // waits while the listener handles another client
        const std::uint32_t error = client.sendRequest(payload);
        return {.error = error, .reply = client.lastReply()};
    }

    Echo echo;
    CInterprocessCommunicationWin server{kMutex, kPipe};
};

TEST_F(Channel, SuccessiveClients) {
    EXPECT_EQ(ask("first"), Answer{.reply = "first"});
    char message[64];
    ipc::writeMessage(GetCurrentProcessId(), "", message);
    EXPECT_EQ(echo.lastSender, ipc::senderOf({message, ipc::kHeaderSize}));
    const std::string longest(65526, 'x');
    EXPECT_EQ(ask(longest), Answer{.reply = longest});
    EXPECT_EQ(ask(longest + "x"), Answer{.error = 111});
    EXPECT_EQ(echo.requests, 2);

    CInterprocessCommunicationWin client(kMutex, kPipe);
    EXPECT_EQ(client.sendRequest("x"), 10u) << "not connected";
    EXPECT_EQ(client.connectToServer(5000), 0u);
    for (const char* text : {"one", "two", "three"}) { // the server disconnects after each request
        EXPECT_EQ(client.sendRequest(text), 0u);
        EXPECT_EQ(client.lastReply(), text);
    }
    EXPECT_EQ(client.sendRequest(longest + "x"), 111u);
    EXPECT_EQ(client.lastReply(), "") << "not the reply to an earlier request";
    client.stop();
    EXPECT_EQ(client.sendRequest("x"), 10u) << "no longer connected";
    EXPECT_EQ(pauses, 0) << "a reconnection needs no pause";
    EXPECT_EQ(server.sendRequest("x"), 0u) << "the first instance sends nothing";
    EXPECT_EQ(server.startServer() + server.connectToServer(), 170u + 170u) << "it is serving";
    EXPECT_EQ(ask("still there"), Answer{.reply = "still there"});

    const auto slow = rawClient(); // writes, then reads after a pause
    DWORD count = 0;
    WriteFile(slow.get(), "headerrrrsss", 12, &count, nullptr);
    Sleep(60);
    EXPECT_TRUE(ReadFile(slow.get(), message, sizeof message, &count, nullptr));
    EXPECT_EQ(ipc::payloadOf({message, count}), "sss");
}

TEST_F(Channel, WithoutAReplyTheRequestFailsAfterSevenAttempts) {
    echo.onEach = [this] { echo.reply.assign(65527, 'x'); }; // too long to be sent
    EXPECT_EQ(ask("x").error, 233u);
    EXPECT_EQ(echo.requests, 7);
    EXPECT_EQ(pauses, 7);
    echo.onEach = nullptr;
    EXPECT_EQ(ask(""), Answer{.error = 233}) << "an empty reply is not sent";
    EXPECT_EQ(echo.requests, 14) << "a message without payload reaches the handler";
    server.stop();
    server.setRequestHandler(nullptr);
    EXPECT_EQ(server.startServer(), 0u);
    EXPECT_EQ(ask("x"), Answer{.error = 233});
    EXPECT_EQ(echo.requests, 14);
    server.stop();
    server.setRequestHandler(&echo);
    static std::atomic<ULONGLONG> ticks = 0; // used until the server has stopped
    GetTickCount64Seam::fake = [] { return ticks.load(); };
    echo.onEach = [this] { ticks += 790, echo.reply.assign(65527, 'x'); }; // 6 * 790 leaves less than a pause
    speed = 0.01; // the clock stands still while the client waits for a reply
    EXPECT_EQ(server.startServer(), 0u);
    EXPECT_EQ(ask("x").error, 233u);
    EXPECT_EQ(echo.requests, 14 + 6) << "another pause would end after five seconds";
}

TEST_F(Channel, ClientsThatConnectBeforeConnectNamedPipe) {
    win32::KernelHandle early;
    for (const bool isGone : {false, true}) {
        server.stop();
        ConnectNamedPipeSeam::calls = 0;
        ConnectNamedPipeSeam::fake = [&](HANDLE pipe, OVERLAPPED* overlapped) {
            if (ConnectNamedPipeSeam::calls == 1)
                early = rawClient();
            if (isGone)
                early.reset();
            return ConnectNamedPipeSeam::real(pipe, overlapped);
        };
        EXPECT_EQ(server.startServer(), 0u);
        EXPECT_EQ(ask("x"), Answer{.reply = "x"});
    }
    server.stop();
    const auto isPipeGone = [] {
        const win32::KernelHandle client(testing_support::openToRead(L"\\\\.\\pipe\\" + kPipe, 0));
        return !client && GetLastError() == ERROR_FILE_NOT_FOUND;
    };
    _beginthreadexSeam::failWith(ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(server.startServer(), 10u);
    EXPECT_TRUE(isPipeGone()) << "clients would wait for a server that does not listen";
    _beginthreadexSeam::restore();
    ConnectNamedPipeSeam::failWith(ERROR_NO_SYSTEM_RESOURCES);
    EXPECT_EQ(server.startServer(), DWORD{ERROR_NO_SYSTEM_RESOURCES});
    EXPECT_TRUE(isPipeGone());
    ConnectNamedPipeSeam::restore();
    WaitForMultipleObjectsSeam::fake = [](auto... wait) {
        WaitForMultipleObjectsSeam::real(wait...);
        return DWORD{WAIT_TIMEOUT};
    };
    GetOverlappedResultSeam::fake = [](auto pipe, auto operation, auto count, BOOL waits) {
        EXPECT_TRUE(waits) << "a cancelled operation may still use the buffers";
        return GetOverlappedResultSeam::real(pipe, operation, count, waits);
    };
    EXPECT_EQ(server.startServer(), 0u);
    EXPECT_EQ(ask("x"), Answer{.reply = "x"}) << "each operation completes as its time runs out";
}

TEST_F(Channel, SilentPeers) {
    speed = 50;
    CInterprocessCommunicationWin idle(kMutex, kPipe);
    EXPECT_EQ(idle.connectToServer(5000), 0u);
    EXPECT_EQ(ask("x"), Answer{.reply = "x"}) << "the server disconnects a silent client";
    EXPECT_EQ(idle.sendRequest("y"), 0u) << "the silent client reconnects";
    EXPECT_EQ(pauses, 0);
    server.stop();
    const win32::KernelHandle mute(CreateNamedPipeW((L"\\\\.\\pipe\\" + kPipe).c_str(), PIPE_ACCESS_DUPLEX,
                                                    PIPE_TYPE_MESSAGE, 1, 100, 100, 0, nullptr));
    EXPECT_EQ(server.startServer(), 231u) << "the pipe name is taken";
    CInterprocessCommunicationWin client(kMutex, kPipe);
    EXPECT_EQ(client.connectToServer(5000), 0u);
    EXPECT_EQ(client.sendRequest("x"), 121u);
    EXPECT_EQ(client.sendRequest("x"), 10u) << "after a time-out the connection is closed";
}

TEST_F(Channel, OpensTheComputersPathThenTheLocalPath) {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    GetComputerNameW(name, &size);
    const std::wstring byName = std::wstring(L"\\\\") + name + L"\\pipe\\", local = L"\\\\.\\pipe\\";
    DWORD failure = 0;
    std::vector<std::wstring> opened;
    CreateFileWSeam::fake = [&](const wchar_t* path, auto... rest) { // Wine opens the local path only
        opened.emplace_back(path);
        EXPECT_EQ(std::get<4>(std::tuple(rest...)) & SECURITY_VALID_SQOS_FLAGS,
                  DWORD{SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION});
        const bool isByName = opened.back() == byName + kPipe;
        SetLastError(failure);
        return isByName && failure != 0
                   ? INVALID_HANDLE_VALUE
                   : CreateFileWSeam::real(isByName ? (local + kPipe).c_str() : path, rest...);
    };
    EXPECT_EQ(ask("x"), Answer{.reply = "x"});
    EXPECT_EQ(opened, std::vector{byName + kPipe});
    CInterprocessCommunicationWin client(kMutex, kPipe);
    failure = ERROR_PIPE_BUSY;
    EXPECT_EQ(client.connectToServer(), 231u);
    EXPECT_EQ(opened.size(), 2u) << "ERROR_PIPE_BUSY selects no other path";
    failure = ERROR_BAD_NETPATH;
    EXPECT_EQ(client.connectToServer(5000), 0u);
    EXPECT_EQ(client.sendRequest("x") + client.sendRequest("y"), 0u);
    EXPECT_EQ(std::count(opened.begin(), opened.end(), byName + kPipe), 3) << "the local path is kept";
}

TEST_F(Channel, SurvivesHostileClients) {
    std::mt19937 random(1);
    for (int connects = 1; connects <= 1000; ++connects) {
        const auto client = rawClient();
        std::string bytes(random() % (connects % 100 == 0 ? 70'000 : 30), '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random());
        DWORD written = 0;
        if (connects % 3 != 0)
            WriteFile(client.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    }
    const auto client = rawClient();
    DWORD written = 0;
    echo.largest = 0;
    WriteFile(client.get(), std::string(70'000, 'x').data(), 70'000, &written, nullptr);
    EXPECT_EQ(ask("honest"), Answer{.reply = "honest"});
    EXPECT_EQ(echo.largest, 65526u) << "a message larger than the buffer is truncated";
    echo.onEach = [] { throw std::bad_alloc(); };
    EXPECT_EQ(ask("x").error, 233u);
    echo.onEach = nullptr;
    EXPECT_EQ(ask("honest"), Answer{.reply = "honest"});
}

TEST_F(Channel, StopsInEveryStateAndRestarts) {
    std::uintptr_t before = 0;
    for (int round = 0; round < 500; ++round) {
        server.stop(); // while the listener waits for a client or for a message
        EXPECT_EQ(server.startServer(), 0u);
        const auto client = round % 2 != 0 ? rawClient() : win32::KernelHandle();
        if (round == 20)
            before = testing_support::lowestFreeHandle();
    }
    server.stop();
    EXPECT_LE(testing_support::lowestFreeHandle(), before + 64);

    EXPECT_EQ(server.startServer(), 0u);
    std::atomic<bool> inHandler = false;
    echo.onEach = [&] {
        inHandler = true;
        server.stop(); // called on the listener's thread: does not wait for it
        Sleep(50);
    };
    std::thread client([] { ask("x"); });
    for (int i = 0; i < 5000 && !inHandler; ++i)
        Sleep(1);
    server.stop();
    client.join();
    echo.onEach = nullptr;
    EXPECT_EQ(server.startServer(), 0u);
    EXPECT_EQ(ask("again"), Answer{.reply = "again"});
}

TEST(BringToFront, AsksTheRunningInstance) {
    watchWaits();
    EXPECT_EQ(ipc::instanceMutexName(""), L"Global\\QUENLITH_");
    EXPECT_EQ(ipc::pipeBaseName("\xC3").back(), static_cast<wchar_t>(-61)) << "not converted by a code page";
    const char* name = "Zelsys test app";
    HWND raised = nullptr;
    SetForegroundWindowSeam::fake = [&](HWND window) { return raised = window, TRUE; };
    EXPECT_FALSE(ipc::bringRunningToFront(name));
    EXPECT_FALSE(ipc::bringRunningToFront(name)) << "the first call leaves no mutex";
    CreateMutexWSeam::failWith(ERROR_ACCESS_DENIED);
    EXPECT_FALSE(CInterprocessCommunicationWin(kMutex, kPipe).isFirstInstance()) << "another user's mutex";
    CreateMutexWSeam::restore();

    HWND window = reinterpret_cast<HWND>(0x12345);
    std::atomic<int> shown = 0;
    ipc::CWindowRequestHandler handler([&] { return window; }, [&] { ++shown; });
    CInterprocessCommunicationWin running(ipc::instanceMutexName("ZELSYS test APP"), ipc::pipeBaseName(name));
    EXPECT_FALSE(ipc::bringRunningToFront(name)) << "the instance exists, but does not serve";
    running.setRequestHandler(&handler);
    EXPECT_EQ(running.startServer(), 0u);
    EXPECT_TRUE(ipc::bringRunningToFront(name));
    EXPECT_EQ(raised, window);
    EXPECT_EQ(shown, 1);
    handler.onRequest(0, ipc::kGetWindowRequest);
    handler.onRequest(0, "/unknown");
    EXPECT_EQ(handler.reply, "");
    // Two clients raise the instance at the same time.
    std::thread other([name] { EXPECT_TRUE(ipc::bringRunningToFront(name)); });
    EXPECT_TRUE(ipc::bringRunningToFront(name));
    other.join();
    EXPECT_EQ(shown, 3);
    speed = 50;
    const auto silent = rawClient(ipc::pipeBaseName(name));
    EXPECT_TRUE(ipc::bringRunningToFront(name)) << "waits until the server disconnects the silent client";
    EXPECT_EQ(shown, 4);
    running.stop();
    testing_support::restoreSeams();
}

} // namespace
