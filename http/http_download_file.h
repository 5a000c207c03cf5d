#pragma once

#include "http/http_request.h"
#include "io/output_file.h"
#include "sys/safe_data_holder.h"
#include "thread/base_thread.h"

#include <cstdint>
#include <optional>
#include <string>

namespace http {

/// The step at which a download failed; the stages of its requests stand beside these.
enum JobStage : std::uint32_t {
    kJobStageNone = 0,
    kJobStageRunning = 10, ///< Start refused: one is running already.
    kJobStageNoUrl = 20,   ///< Start refused: no URL.
    kJobStageReady = 40,   ///< An event is missing, or the ready event cannot be reset.
    kJobStageThread = 50,  ///< The worker could not be started, or ran out of memory.
    kJobStageLength = 60,  ///< The server announces no length, or the length 0.
    kJobStageFile = 70,    ///< The file cannot be made.
};

/// \brief Downloads one file at a time on a thread of its own.
///
/// The server is first asked for the length alone; one that does not tell it cannot be downloaded from. The
/// HTTP status is not judged: an error page with a length is downloaded like any file.
///
/// `Start` and `stop` belong to one thread at a time; everything else may be called at any time.
class CHttpDownloadFile : private thread::CThreadFunction {
public:
    struct SResultData {
        bool started = false;
        bool completed = false;
        std::uint32_t startTick = 0; ///< Milliseconds of the system's tick counter.
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
    /// Refused while one is running and without a URL; both are told by the stage of the result only.
    /// \param url Nothing is a refusal. White space around it is removed.
    /// \param targetFolder Where the file goes, under the name behind the URL's last "/"; empty for the
    ///                     suite's
    /// settings folder. Made when missing.
    /// \return 0, or the Windows error number with which the worker could not be started.
    std::uint32_t Start(const web::TNetProxy& proxy, const std::optional<std::wstring>& url,
                        const std::wstring& targetFolder);

    /// \brief Cancels the download and waits for its worker, at most 15 seconds.
    ///
    /// A worker that receives data ends by itself. One that waits for a silent server has its handles closed.
    /// \return Whether the worker is done; until then the object must not be destroyed.
    bool stop();

    SResultData result() const { return result_.get(); }

    /// \brief How much is done, in percent: 0 before the start, 100 after the end, whatever the outcome.
    std::uint32_t progress() const;

    /// \brief How long the download runs, or has run.
    std::uint32_t elapsedSeconds() const;

private:
    void Run(std::uint32_t id) override;
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
