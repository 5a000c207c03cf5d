#include "zelsyshelper.h"

#include "http/http_download_file.h"
#include "modules/zelsyshelper/src/export_frame.h"
#include "sys/cs_wrapper.h"
#include "text/wide.h"
#include "win32/process.h"

#include <memory>

namespace {

/// Result of a query while there is no download.
constexpr std::uint32_t kNoJob = ERROR_INVALID_ENVIRONMENT;

/// The only download job. Null before the first start and after a stop. Leaked when the process ends, since
/// the system has ended its worker by then.
struct Job {
    std::unique_ptr<http::CHttpDownloadFile> job;

    ~Job() {
        if (win32::isProcessEnding())
            static_cast<void>(job.release());
    }
};

sys::CCsWrapper downloadLock;
Job current;

/// Runs a query on the job. Returns \ref kNoJob without a job.
template <class Query>
uint64_t query(Query ask) {
    return frame::run(std::uint32_t{ERROR_NOT_ENOUGH_MEMORY}, [&] {
        const sys::CsGuard guard(downloadLock.section());
        if (!current.job)
            return kNoJob;
        ask(*current.job);
        return std::uint32_t{0};
    });
}

} // namespace

uint64_t startDownloadFile(const wchar_t* proxyHost, uint32_t proxyPort, const wchar_t* proxyUser,
                           const wchar_t* proxyPassword, const wchar_t* url, const wchar_t* targetFolder) {
    return frame::run(std::uint32_t{ERROR_NOT_ENOUGH_MEMORY}, [&] {
        using frame::owned;
        const web::TNetProxy proxy{.host = text::utf16ToCodePage(owned(proxyHost), CP_ACP),
                                   .port = proxyPort,
                                   .user = owned(proxyUser),
                                   .password = owned(proxyPassword)};
        const auto address = url != nullptr ? std::optional(owned(url)) : std::nullopt;
        const std::wstring folder = owned(targetFolder);
        // During process exit no worker can start.
        if (win32::isProcessEnding())
            return std::uint32_t{ERROR_SHUTDOWN_IN_PROGRESS};
        const sys::CsGuard guard(downloadLock.section());
        if (!current.job)
            current.job = std::make_unique<http::CHttpDownloadFile>();
        return current.job->Start(proxy, address, folder);
    });
}

void stopDownloadFile(void) {
    frame::run(0, [] {
        // During process exit the system has ended the worker, so stop would only time out.
        if (win32::isProcessEnding())
            return 0;
        const sys::CsGuard guard(downloadLock.section());
        // A worker that hangs, for instance on a disk that does not respond, still uses the job: leak it.
        if (current.job && !current.job->stop() && !current.job->stop())
            static_cast<void>(current.job.release());
        current.job.reset();
        return 0;
    });
}

uint64_t getDownloadFileProgress(uint32_t* percent) {
    return query([=](const auto& job) { frame::put(percent, job.progress()); });
}

uint64_t getDownloadElapsedTimeInSeconds(uint32_t* seconds) {
    return query([=](const auto& job) { frame::put(seconds, job.elapsedSeconds()); });
}

uint64_t getDownloadFileErrors(uint32_t* errorCode, uint32_t* errorStage, uint32_t* httpStatus) {
    return query([=](const auto& job) {
        const auto result = job.result();
        frame::put(errorCode, result.errorCode);
        frame::put(errorStage, result.errorStage);
        frame::put(httpStatus, result.httpStatus);
    });
}

uint64_t isDownloadFileCompleted(uint8_t* completed) {
    return query([=](const auto& job) { frame::put(completed, std::uint8_t{job.result().completed}); });
}

uint64_t isDownloadFileStarted(uint8_t* started) {
    return query([=](const auto& job) { frame::put(started, std::uint8_t{job.result().started}); });
}
