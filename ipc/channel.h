#pragma once

#include "ipc/request_handler.h"
#include "sys/safe_data_holder.h"
#include "thread/base_thread.h"
#include "win32/owner.h"

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

namespace ipc {

/// \brief Marks a running instance of an application and connects later instances with the first one.
///
/// A named mutex marks the instance for the lifetime of the object. The first instance serves a named pipe on
/// a thread of the channel; a later instance connects to it and sends short requests. The listener serves one
/// client at a time.
///
/// Mutex and pipe exist once per machine, not once per user session. The pipe has a null DACL: any process of
/// this machine can connect, whatever its user, and so can users of other machines whom the Server service
/// authenticates. Another process can also serve the pipe's name and answer in place of the application.
///
/// Operations return 0 or a Windows error number. One thread at a time may call them. None of them blocks
/// indefinitely, except on a request handler that does not return.
class CInterprocessCommunicationWin : private win32::CThreadFunction {
public:
    /// \brief Creates the mutex, or opens it if another instance has created it.
    /// \param mutexName Mutex name, \ref instanceMutexName. Empty: the name of this library.
    /// \param pipeBaseName Pipe name without path, \ref ipc::pipeBaseName. Empty: the name of this library.
    CInterprocessCommunicationWin(const std::wstring& mutexName, const std::wstring& pipeBaseName);
    CInterprocessCommunicationWin(const CInterprocessCommunicationWin&) = delete;
    CInterprocessCommunicationWin& operator=(const CInterprocessCommunicationWin&) = delete;

    /// \brief Calls `stop` and closes the mutex.
    ~CInterprocessCommunicationWin() override;

    /// \brief Returns false if another instance was running: the mutex existed, or CreateMutexW failed with
    /// ERROR_ACCESS_DENIED.
    ///
    /// Returns true after any other error of CreateMutexW. Then no mutex marks this instance, and a later one
    /// also becomes the first.
    bool isFirstInstance() const { return isFirstInstance_; }

    /// \brief Sets the object that answers requests; null for none. Not owned. Call it before `startServer`.
    void setRequestHandler(IRequestHandler* handler) { handler_ = handler; }

    /// \brief Creates the pipe and returns once the listener waits for a client.
    ///
    /// Disconnects a client that has connected between CreateNamedPipeW and ConnectNamedPipe.
    /// Two channels with one pipe name and different mutexes share the clients.
    /// \return `ERROR_BUSY` (170), without any change, if the channel already serves; `ERROR_PIPE_BUSY` (231)
    ///         or `ERROR_ACCESS_DENIED` (5) if another process serves the pipe's name and admits no further
    ///         instance; otherwise the error of the call that failed.
    std::uint32_t startServer();

    /// \brief Opens the client end of the pipe, by the name of this computer or else as a local pipe.
    /// \param patience Milliseconds to wait while the server handles another client.
    /// \return `ERROR_BUSY` (170), without any change, if the channel serves; `ERROR_PIPE_BUSY` (231) if the
    ///         server still handles another client; `ERROR_FILE_NOT_FOUND` (2) without a server.
    std::uint32_t connectToServer(DWORD patience = 0);

    /// \brief Sends a request and waits for the reply.
    ///
    /// Makes up to seven attempts with pauses of 300 ms. Bounds all attempts together by five seconds,
    /// without the time to open the pipe by the computer's name. Each connection carries one request: the
    /// next request reconnects without a pause. Sends nothing on the first instance. After a time-out the
    /// channel is no longer connected.
    /// \return 0; `ERROR_BAD_ENVIRONMENT` (10) without a connection; `ERROR_BUFFER_OVERFLOW` (111) for more
    ///         than 65,526 bytes; `ERROR_SEM_TIMEOUT` (121) if the server keeps the connection open without
    ///         a reply; otherwise the error of the last attempt.
    std::uint32_t sendRequest(const std::string& payload);

    /// \brief Returns the reply to the last request made while connected; empty if that failed.
    std::string lastReply() const { return lastReply_; }

    /// \brief Stops the listener, waits until the request handler has returned, and closes the pipe.
    ///
    /// Idempotent. The channel can be started again afterwards. Called by the request handler, `stop` only
    /// signals the listener to end and does not wait.
    void stop();

private:
    void Run(std::uint32_t id) noexcept override;

    std::uint32_t prepare(std::initializer_list<win32::KernelHandle*> events);
    std::uint32_t createServerEnd();
    std::uint32_t openClientEnd(ULONGLONG deadline);
    std::uint32_t openPath(const std::wstring& path, ULONGLONG deadline);
    std::uint32_t attempt(ULONGLONG deadline, DWORD& received);
    std::uint32_t setMessageMode();
    std::uint32_t transact(ULONGLONG deadline, DWORD& received);
    std::uint32_t waitForIo(DWORD timeOut, DWORD& count);
    std::uint32_t listen();
    bool serveClient();
    std::uint32_t read(DWORD timeOut, DWORD& count);
    void answer(std::string_view message);

    const std::wstring& mutexName();
    const std::wstring& pipeBaseName();

    bool isFirstInstance_ = true;
    sys::CSafeDataHolder<bool> stopping_;
    win32::KernelHandle mutex_;
    win32::KernelHandle pipe_;
    std::string sendBuffer_;
    std::unique_ptr<char[]> receiveBuffer_; ///< \ref kLargestMessage bytes.
    win32::KernelHandle stopEvent_;
    win32::KernelHandle ioEvent_;
    win32::KernelHandle listeningEvent_; ///< Set once `listenError_` is known.
    std::uint32_t listenError_ = 0;      ///< 0, or why the listener did not begin to listen.
    OVERLAPPED overlapped_{};
    win32::CBaseThread<100> listener_;
    std::wstring mutexName_;
    std::wstring pipeBaseName_;
    IRequestHandler* handler_ = nullptr;
    bool isLocalOnly_ = false; ///< The path with the computer's name has failed; the local one works.
    bool isConnected_ = false; ///< `connectToServer` has succeeded; requests may reconnect.
    std::string lastReply_;
};

} // namespace ipc
