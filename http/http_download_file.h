#pragma once

#include "http/http_request.h"
#include "io/output_file.h"
#include "sys/safe_data_holder.h"
#include "thread/base_thread.h"

#include <cstdint>
#include <optional>
#include <string>

namespace http {

/// The step at which a download failed. A failed request reports a \ref Stage instead.
enum JobStage : std::uint32_t {
    kJobStageNone = 0,
    kJobStageRunning = 10, ///< Start refused: a download is running.
    kJobStageNoUrl = 20,   ///< Start refused: no URL.
    kJobStageReady = 40,   ///< An event is missing, or the ready event cannot be reset.
    kJobStageThread = 50,  ///< The worker could not be started, or ran out of memory.
    kJobStageLength = 60,  ///< The server announces no length or the length 0, or `stop` preceded its reply.
    kJobStageFile = 70,    ///< The file cannot be created.
};

/// \brief Downloads one file at a time on a thread of its own.
///
/// A first request obtains the Content-Length. Without one the download fails. The HTTP status is not
/// checked: an error page with a length is downloaded like any file.
///
/// One thread at a time may call `Start` and `stop`. Any thread may call everything else at any time.
class CHttpDownloadFile : private thread::CThreadFunction {
public:
    struct SResultData {
        bool started = false;
        bool completed = false;
        std::uint32_t startTick = 0; ///< GetTickCount.
        std::uint32_t endTick = 0;
        std::uint32_t errorCode = 0;
        std::uint32_t errorStage = 0;
        std::uint32_t httpStatus = 0;
    };

    CHttpDownloadFile();
    CHttpDownloadFile(const CHttpDownloadFile&) = delete;
    CHttpDownloadFile& operator=(const CHttpDownloadFile&) = delete;

    /// Stops a running download, see `stop`.
    ~CHttpDownloadFile() override;

    /// \brief Starts a download and returns once its worker is running.
    ///
    /// Refuses to start without a URL and while a download is running: returns 0 and sets the result's stage.
    /// \param url `nullopt` is refused. White space around it is removed.
    /// \param targetFolder Folder of the file, created if missing; empty for the suite's settings folder. The
    ///                     file has the name that follows the URL's last "/".
    /// \return 0, or the Windows error number if the worker or its event is not available.
    std::uint32_t Start(const web::TNetProxy& proxy, const std::optional<std::wstring>& url,
                        const std::wstring& targetFolder);

    /// \brief Cancels the download and waits for its worker, at most 15 seconds.
    ///
    /// Sets the cancel flag and, 100 ms later, closes the WinHTTP handles. Repeats both every 50 ms until the
    /// worker has ended, because an exchange that begins clears the flag.
    /// \return True if the worker has ended; otherwise the object must not be destroyed.
    bool stop();

    SResultData result() const { return result_.get(); }

    /// \brief Returns the progress in percent: 0 before the start, 100 after the end, even after a failure.
    std::uint32_t progress() const;

    /// \brief Returns the duration of the running or last download.
    std::uint32_t elapsedSeconds() const;

private:
    void Run(std::uint32_t id) noexcept override;
    void work();
    std::wstring outputPath() const;
    void record(std::uint32_t error, std::uint32_t stage);
    std::uint32_t refuse(std::uint32_t error, JobStage stage);

    thread::CBaseThread<1> thread_;
    win32::KernelHandle ready_;
    win32::KernelHandle done_;
    CHttpRequest probe_;
    CHttpRequest transfer_;
    std::wstring url_;
    std::wstring targetFolder_;
    sys::CSafeDataHolder<bool> running_;
    sys::CSafeDataHolder<bool> stopping_;
    sys::CSafeDataHolder<SResultData> result_;
};

} // namespace http
