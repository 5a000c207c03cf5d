#include "http/http_download_file.h"

#include "support/files.h"
#include "support/seam.h"

#include <cstdlib>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"kernel32.dll", ResetEvent)

namespace {

class Job : public testing::Test {
protected:
    ~Job() override { testing_support::restoreSeams(); }

    std::uint32_t start(const wchar_t* path) {
        const auto port = static_cast<std::uint32_t>(std::atoi(std::getenv("PORT_PLAIN")));
        return job.Start({.host = "127.0.0.1", .port = port}, std::wstring(L"http://some.example") + path,
                         folder / L"");
    }

    testing_support::TemporaryFolder folder;
    http::CHttpDownloadFile job;
};

TEST_F(Job, StopReachesARequestThatIsJustAboutToBegin) {
    // The worker resets its requests' events at their beginning: long enough for a first cancel to be
    // forgotten.
    std::atomic<int> resets = 0;
    const DWORD starter = GetCurrentThreadId();
    ResetEventSeam::fake = [&](HANDLE event) {
        if (GetCurrentThreadId() != starter && ++resets == 2)
            Sleep(300); // the transfer, after the probe
        return ResetEventSeam::real(event);
    };
    EXPECT_EQ(start(L"/trickle/t"), 0u);
    for (int i = 0; i < 1000 && resets < 2; ++i)
        Sleep(5);
    EXPECT_TRUE(job.stop());
    EXPECT_LT(testing_support::readBytes(folder / L"t").size(), 20u) << "not the whole transfer";
}

TEST_F(Job, StartRightAfterTheEndIsNoSecondStart) {
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(start(L"/file/7/f"), 0u);
        while (!job.result().completed)
            SwitchToThread();
        ASSERT_EQ(job.result().errorStage, 0u) << i;
    }
}

TEST_F(Job, WorkerThatCannotBeStarted) {
    ResetEventSeam::failWith(ERROR_INVALID_HANDLE);
    EXPECT_EQ(start(L"/file/7/f"), 6u);
    EXPECT_EQ(job.result().errorStage, 40u);
    EXPECT_FALSE(job.result().started);
}

} // namespace
