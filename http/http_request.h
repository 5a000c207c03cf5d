#pragma once

#include "http/http_types.h"
#include "io/streams.h"
#include "sys/safe_data_holder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace http {

/// \brief Performs HTTP(S) exchanges over WinHTTP, one after the other, on the thread that calls `Execute`.
///
/// While an exchange runs, other threads may call the getters and cancel it.
class CHttpRequest {
public:
    /// The last error of an exchange. Unlike the result, it also reports a body that ended too early.
    struct _TDownloadError {
        std::uint32_t error = 0;
        std::uint32_t stage = 0;
        bool failed = false; ///< Set for stages 14102, 14103, 14115, 14118 and 14119 only.
    };

    struct _TRequestData {
        std::wstring headers; ///< Lines separated by CR LF.
    };

    struct _TResponseData {
        std::wstring contentType;
        std::wstring contentEncoding;
        std::wstring location;
        std::wstring cookies;                      ///< All Set-Cookie headers, separated by CR LF.
        std::uint32_t statusCode = HTTP_STATUS_OK; ///< Stays 200 without a status line.
        /// The Content-Length plus the number of body bytes written to the output.
        std::int64_t length = 0;
    };

    /// Numbers of bytes in the running or last exchange.
    struct TProgress {
        std::int64_t inputSize = 0;
        std::int64_t expectedLength = 0;
        std::int64_t uploaded = 0;
        std::int64_t downloaded = 0;
    };

    /// Time for an exchange to reach its next check of the cancel flag.
    static constexpr std::uint32_t kCancelGrace = 100; // milliseconds

    /// Milliseconds.
    struct TTimeouts {
        int resolve = 120000;
        int connect = 120000;
        int send = 120000;
        int receive = 120000;
    };

    CHttpRequest();

    /// \brief Performs one exchange and returns when it has ended. One thread at a time may call it.
    ///
    /// A port in the URL is ignored: https uses port 443, any other scheme port 80. After a cancel, `result`
    /// usually reports success, and `error()` reports nothing or stage 14120. A body that is shorter than
    /// expected is a success in `result` too: only `error()` reports it.
    /// \param input The body of the request; null for none. Not owned.
    /// \param output Receives the body of the reply; null: the body is not read. Not owned.
    /// \param expectedLength Bytes after which reading ends; 0 or less if unknown.
    void Execute(TResult& result, const std::wstring& url, const std::wstring& verb, io::CIStreamBase* input,
                 io::COStreamBase<char>* output, std::int64_t expectedLength) noexcept;

    /// \brief Cancels the running exchange and waits for its end. Returns at once if none is running.
    ///
    /// Sets the cancel flag and, 100 ms later, closes the WinHTTP handles. Repeats both every 50 ms until the
    /// exchange has ended, because an exchange that begins clears the flag. Must not be called from the
    /// thread that runs `Execute`.
    /// \return 0 or a Windows error number.
    std::uint32_t Cancel();

    /// \brief Resets the progress of the last exchange. Must not be called while an exchange runs.
    void clearProgress();

    /// \brief Sets the cancel flag, which ends the exchange after its current WinHTTP call. Does not wait.
    ///
    /// Repeat it until the exchange has ended: an exchange that begins clears the flag.
    void askToCancel() { cancelled_.set(true); }

    /// \brief Calls `askToCancel` and closes the WinHTTP handles, which ends a blocking call.
    ///
    /// Closing a handle that a synchronous call uses is not safe on Windows. Call `askToCancel` first and
    /// give the exchange `kCancelGrace` to end.
    void forceCancel();

    bool isBusy() const { return busy_.get(); }
    _TDownloadError error() const { return error_.get(); }
    _TResponseData response() const { return response_.get(); }
    std::wstring rawHeaders() const { return rawHeaders_.get(); }
    std::int64_t expectedLength() const { return progress_.get(&TProgress::expectedLength); }
    std::int64_t downloaded() const { return progress_.get(&TProgress::downloaded); }
    TProgress progress() const { return progress_.get(); }

    void setProxy(const web::TNetProxy& proxy) { proxy_.set(proxy); }
    void setCredentials(const web::TNetCredentials& credentials) { credentials_.set(credentials); }
    void setRedirectPolicy(redirect::TRedirectPolicy policy) { redirectPolicy_.set(policy); }
    void setExtraHeaders(const std::wstring& headers) { requestData_.set({headers}); }
    void setTimeouts(const TTimeouts& timeouts) { timeouts_.set(timeouts); }
    /// \param pause Milliseconds to sleep before each uploaded chunk.
    void setThrottle(std::uint32_t pause) { throttle_.set(pause); }

private:
    /// The state of one call of `Execute`.
    struct Exchange {
        TResult& result;
        const std::wstring& url;
        const std::wstring& verb;
        io::CIStreamBase* input;
        io::COStreamBase<char>* output;
        std::int64_t expectedLength;
        std::wstring scheme{}, host{}, pathAndExtra{};
        web::TNetProxy proxy{};
        HINTERNET session = nullptr, connect = nullptr, request = nullptr; ///< Owned by `handles_`.
        std::vector<char> buffer{};

        bool isSecure() const { return scheme == L"https"; }
    };

    // The steps of an exchange, in order. Returning false ends the exchange.
    void begin(Exchange& exchange);
    bool crackUrl(Exchange& exchange);
    bool openSession(Exchange& exchange);
    bool openRequest(Exchange& exchange);
    bool configure(Exchange& exchange);
    bool applyCredentials(Exchange& exchange);
    bool applyRedirectPolicy(Exchange& exchange);
    bool send(Exchange& exchange);
    bool upload(Exchange& exchange);
    bool receive(Exchange& exchange);
    void captureHeaders(const Exchange& exchange);
    void download(Exchange& exchange);
    bool writeOutput(Exchange& exchange, std::uint32_t count);
    void finish();

    bool goesOn(Exchange& exchange, bool succeeded, Stage stage);
    void fail(Exchange& exchange, std::uint32_t error, Stage stage);
    void recordError(std::uint32_t error, Stage stage);
    HINTERNET keep(win32::WinHttpHandle THttpConnectionHandles::*which, win32::WinHttpHandle handle);
    void closeHandles();

    sys::CSafeDataHolder<bool> cancelled_;
    sys::CSafeDataHolder<bool> busy_;
    sys::CSafeDataHolder<_TDownloadError> error_;
    win32::KernelHandle idle_;
    sys::CSafeDataHolder<web::TNetProxy> proxy_;
    sys::CSafeDataHolder<web::TNetCredentials> credentials_;
    sys::CSafeDataHolder<THttpConnectionHandles> handles_;
    sys::CSafeDataHolder<redirect::TRedirectPolicy> redirectPolicy_;
    sys::CSafeDataHolder<TProgress> progress_;
    sys::CSafeDataHolder<_TResponseData> response_;
    sys::CSafeDataHolder<_TRequestData> requestData_;
    sys::CSafeDataHolder<std::wstring> rawHeaders_;
    sys::CSafeDataHolder<TTimeouts> timeouts_;
    sys::CSafeDataHolder<std::uint32_t> throttle_;
};

} // namespace http
