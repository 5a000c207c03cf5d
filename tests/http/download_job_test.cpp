#include "http/http_download_file.h"

#include "support/files.h"
#include "support/seam.h"
#include "support/servers.h"

#include <thread>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", ResetEvent)
ZELSYS_SEAM(L"kernel32.dll", CreateEventW)
ZELSYS_SEAM(L"kernel32.dll", GetTickCount)
ZELSYS_SEAM(L"kernel32.dll", WaitForSingleObject)
ZELSYS_SEAM(L"winhttp.dll", WinHttpReadData)
ZELSYS_SEAM(L"winhttp.dll", WinHttpCloseHandle)

namespace {

class Job : public testing::Test {
protected:
    ~Job() override { testing_support::restoreSeams(); }

    std::uint32_t start(const wchar_t* path) {
        return job->Start({.host = "127.0.0.1", .port = testing_support::port("PLAIN")},
                          std::wstring(L"http://some.example") + path, folder / L"");
    }

    testing_support::TemporaryFolder folder;
    std::optional<http::CHttpDownloadFile> job{std::in_place};
};

TEST_F(Job, StopCancelsARequestThatIsAboutToBegin) {
    CreateEventWSeam::failWith(ERROR_NOT_ENOUGH_MEMORY);
    job.emplace(); // its events are missing; Start creates them
    CreateEventWSeam::restore();
    // A request that begins resets its idle event and then its cancel flag: an earlier cancel is lost.
    std::atomic<int> resets = 0;
    const DWORD starter = GetCurrentThreadId();
    ResetEventSeam::fake = [&](HANDLE event) {
        if (GetCurrentThreadId() != starter && ++resets == 2)
            Sleep(300); // the second reset: the transfer, after the probe
        return ResetEventSeam::real(event);
    };
    EXPECT_EQ(start(L"/trickle/t"), 0u);
    for (int i = 0; i < 1000 && resets < 2; ++i)
        Sleep(5);
    EXPECT_TRUE(job->stop());
    EXPECT_LT(testing_support::readBytes(folder / L"t").size(), 20u) << "not the whole transfer";
}

TEST_F(Job, StopClosesNoHandleThatTheWorkerUses) {
    WinHttpReadDataSeam::fake = [](auto... arguments) {
        Sleep(5);
        return WinHttpReadDataSeam::real(arguments...);
    };
    std::atomic<int> closed = 0;
    WinHttpCloseHandleSeam::fake = [&, stopper = GetCurrentThreadId()](HINTERNET handle) {
        closed += GetCurrentThreadId() == stopper;
        return WinHttpCloseHandleSeam::real(handle);
    };
    EXPECT_EQ(start(L"/file/30000000/f"), 0u);
    while (job->progress() == 0)
        Sleep(5);
    GetTickCountSeam::fake = [] { return 1000ul; }; // stop closes handles after 100 ms, which never pass
    EXPECT_TRUE(job->stop());
    EXPECT_LT(testing_support::readBytes(folder / L"f").size(), 30'000'000u);
    EXPECT_EQ(closed, 0) << "a WinHTTP call may be using the handle";
}

TEST_F(Job, StopBetweenProbeAndTransferCreatesNoFile) {
    std::thread stopper;
    std::atomic<DWORD> stopperId = 0;
    std::atomic<bool> isStopping = false;
    WaitForSingleObjectSeam::fake = [&](HANDLE handle, DWORD time) {
        if (GetCurrentThreadId() == stopperId)
            isStopping = true;
        return WaitForSingleObjectSeam::real(handle, time);
    };
    WinHttpCloseHandleSeam::fake = [&](HINTERNET handle) {
        if (WinHttpCloseHandleSeam::calls == 3) { // the last handle of the probe
            stopper = std::thread([&] {
                stopperId = GetCurrentThreadId();
                EXPECT_TRUE(job->stop());
            });
            while (!isStopping)
                SwitchToThread();
        }
        return WinHttpCloseHandleSeam::real(handle);
    };
    EXPECT_EQ(start(L"/file/7/f"), 0u);
    while (!job->result().completed)
        SwitchToThread();
    stopper.join();
    EXPECT_FALSE(std::filesystem::exists(folder / L"f"));
}

TEST_F(Job, StartIsAllowedRightAfterTheEndAndResetsTheProgress) {
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(start(L"/file/7/f"), 0u);
        while (!job->result().completed)
            SwitchToThread();
        ASSERT_EQ(job->result().errorStage, 0u) << i;
        EXPECT_EQ(job->progress(), 100u);
    }
    EXPECT_EQ(start(L"/late/x"), 0u);
    EXPECT_EQ(job->progress(), 0u);
}

TEST_F(Job, FailedResetRefusesTheStart) {
    ResetEventSeam::failWith(ERROR_INVALID_HANDLE);
    EXPECT_EQ(start(L"/file/7/f"), 6u);
    EXPECT_EQ(job->result().errorStage, 40u);
    EXPECT_FALSE(job->result().started);
}

} // namespace
