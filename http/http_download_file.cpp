#include "http/http_download_file.h"

#include "text/trim.h"
#include "win32/event.h"
#include "win32/known_folders.h"
#include "win32/path.h"

#include <shlobj.h>

namespace http {
namespace {

constexpr std::uint32_t kStopTime = 15000;    // milliseconds
constexpr std::uint32_t kCancelInterval = 50; // milliseconds

std::wstring defaultFolder() {
    wchar_t roaming[MAX_PATH];
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, roaming)))
        return {};
    return win32::joinPath(roaming, win32::kBrandFolder);
}

void makeFolder(const std::wstring& folder) {
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        SHCreateDirectory(nullptr, folder.c_str()); // opening the file reports a failure
}

/// Creates an event that is set: an idle job counts as ready and done.
win32::KernelHandle makeIdleEvent() {
    return win32::makeEvent(win32::EventState::set);
}

} // namespace

CHttpDownloadFile::CHttpDownloadFile() : ready_(makeIdleEvent()), done_(makeIdleEvent()) {
    thread_.setFunction(this);
}

CHttpDownloadFile::~CHttpDownloadFile() {
    stop();
}

std::uint32_t CHttpDownloadFile::Start(const web::TNetProxy& proxy, const std::optional<std::wstring>& url,
                                       const std::wstring& targetFolder) {
    if (running_.get() && result_.get().completed)
        thread_.waitFinished(); // the worker has reported its end and is about to return
    if (running_.get()) {
        record(0, kJobStageRunning);
        return 0;
    }
    result_.set({});
    if (!url)
        return refuse(0, kJobStageNoUrl);
    thread_.waitFinished();
    url_ = text::trimmed(*url);
    targetFolder_ = text::trimmed(targetFolder);
    probe_.setProxy(proxy);
    transfer_.setProxy(proxy);
    transfer_.clearProgress();
    stopping_.set(false);

    for (auto* event : {&ready_, &done_})
        if (!*event) // an earlier CreateEventW has failed
            *event = makeIdleEvent();
    if (!ready_ || !done_)
        return refuse(ERROR_INVALID_ENVIRONMENT, kJobStageReady);
    if (!ResetEvent(ready_.get()))
        return refuse(GetLastError(), kJobStageReady);
    ResetEvent(done_.get());
    if (const std::uint32_t error = thread_.Start()) {
        SetEvent(done_.get());
        return refuse(error, kJobStageThread);
    }
    WaitForSingleObject(ready_.get(), INFINITE);
    return 0;
}

bool CHttpDownloadFile::stop() {
    stopping_.set(true);
    const DWORD begin = GetTickCount();
    DWORD over = WAIT_TIMEOUT;
    while (over == WAIT_TIMEOUT && GetTickCount() - begin < kStopTime) {
        const bool isPatient = GetTickCount() - begin < CHttpRequest::kCancelGrace;
        // Repeated, since an exchange that begins clears the cancel flag.
        for (CHttpRequest* request : {&probe_, &transfer_})
            isPatient ? request->askToCancel() : request->forceCancel();
        over = WaitForSingleObject(done_.get(), kCancelInterval);
    }
    if (over == WAIT_TIMEOUT)
        return false;
    // The worker still uses this object after it has set done_, so wait until its run is over. Waiting for
    // the thread's exit would deadlock during FreeLibrary: the exit needs the loader lock, which the caller
    // holds.
    thread_.waitFinished();
    return true;
}

std::uint32_t CHttpDownloadFile::progress() const {
    const SResultData result = result_.get();
    if (result.completed)
        return 100;
    const std::int64_t expected = transfer_.expectedLength();
    if (!result.started || expected < 1)
        return 0;
    return static_cast<std::uint32_t>(transfer_.downloaded() * 100 / expected);
}

std::uint32_t CHttpDownloadFile::elapsedSeconds() const {
    const SResultData result = result_.get();
    if (result.startTick == 0)
        return 0;
    std::uint32_t end = result.endTick;
    if (end <= result.startTick)
        end = result.started ? GetTickCount() : 0;
    return end > result.startTick ? (end - result.startTick) / 1000 : 0;
}

void CHttpDownloadFile::Run(std::uint32_t) noexcept {
    running_.set(true);
    result_.access([](SResultData& result) {
        result.started = true;
        result.startTick = GetTickCount();
    });
    SetEvent(ready_.get());
    try {
        work();
    } catch (...) {
        record(ERROR_NOT_ENOUGH_MEMORY, kJobStageThread);
    }
    result_.access([](SResultData& result) {
        result.started = false;
        result.completed = true;
        result.endTick = GetTickCount();
    });
    running_.set(false);
    SetEvent(done_.get());
}

void CHttpDownloadFile::work() {
    TResult result;
    probe_.Execute(result, url_, L"GET", nullptr, nullptr, 0);
    if (!result.isGood())
        return record(result.error, result.stage);
    const auto probed = probe_.response();
    if (probed.length < 1) {
        const auto error = probe_.error();
        const bool isKnown = error.error != 0 || error.stage != 0;
        record(error.error, isKnown ? error.stage : std::uint32_t{kJobStageLength});
        result_.set(&SResultData::httpStatus, probed.statusCode);
        return;
    }

    if (stopping_.get())
        return;
    io::COStreamFile file;
    if (const std::uint32_t error = file.open(outputPath()))
        return record(error, kJobStageFile);
    transfer_.Execute(result, url_, L"GET", nullptr, &file, probed.length);
    if (!result.isGood())
        return record(result.error, result.stage);
    const auto error = transfer_.error();
    record(error.error, error.stage);
    result_.set(&SResultData::httpStatus, transfer_.response().statusCode);
}

/// Returns the path of the file and creates its folder, best effort. Empty if the URL ends in "/" or the
/// default folder is unknown.
std::wstring CHttpDownloadFile::outputPath() const {
    const auto slash = url_.rfind(L'/');
    const std::wstring name = slash != url_.npos ? url_.substr(slash + 1) : std::wstring();
    const std::wstring folder = targetFolder_.empty() ? defaultFolder() : targetFolder_;
    if (name.empty() || folder.empty())
        return {};
    // The name may contain backslashes, and therefore subfolders.
    std::wstring path = win32::joinPath(folder, name);
    makeFolder(path.substr(0, path.rfind(L'\\')));
    return path;
}

void CHttpDownloadFile::record(std::uint32_t error, std::uint32_t stage) {
    result_.access([=](SResultData& result) {
        result.errorCode = error;
        result.errorStage = stage;
    });
}

std::uint32_t CHttpDownloadFile::refuse(std::uint32_t error, JobStage stage) {
    record(error, stage);
    return error;
}

} // namespace http
