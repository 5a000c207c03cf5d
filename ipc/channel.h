#pragma once

#include "ipc/request_handler.h"
#include "sys/safe_data_holder.h"
#include "thread/base_thread.h"
#include "win32/owner.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ipc {

/// \brief Marks a running instance of an application, and lets a later one talk to the first.
///
/// A named mutex marks the instance for as long as the object lives. The first instance serves a named pipe,
/// on a thread of the channel; a later one connects to it and sends short requests. One client is served at a
/// time.
///
/// All operations return 0 or a Windows error number and belong to one thread at a time.
class CInterprocessCommunicationWin : private win32::CThreadFunction {
public:
    /// \brief Claims the mutex.
    /// \param mutexName,pipeBaseName Empty for the names of this library itself.
    CInterprocessCommunicationWin(const std::wstring& mutexName, const std::wstring& pipeBaseName);
    CInterprocessCommunicationWin(const CInterprocessCommunicationWin&) = delete;
    CInterprocessCommunicationWin& operator=(const CInterprocessCommunicationWin&) = delete;

    /// Stops, and gives the mutex back.
    ~CInterprocessCommunicationWin() override;

    /// \brief Whether this object made the mutex, so that no other instance was there.
    bool isFirstInstance() const { return isFirstInstance_; }

    /// \brief Sets who answers requests; null for nobody. Not owned. To be called before `startServer`.
    void setRequestHandler(IRequestHandler* handler) { handler_ = handler; }

    /// \brief Makes the pipe, open to every user of the machine, and starts to serve it.
    ///
    /// A client that connects in the instant before the listener is ready ends it; the pipe is closed then.
    /// \return 170, and nothing has changed, while the channel serves already.
    std::uint32_t startServer();

    /// \brief Opens the client end of the pipe.
    /// \return 170, and nothing has changed, while the channel serves.
    std::uint32_t connectToServer();

    /// \brief Sends a request and waits for the reply. Up to seven attempts, 300 ms apart.
    ///
    /// On the first instance there is nobody to talk to; nothing is sent then. An attempt lasts for as long
    /// as the other side keeps the connection open without an answer.
    /// \return 0; 10 without a connection; 111 for a payload of more than 65,526 bytes; else the last error.
    std::uint32_t sendRequest(const std::string& payload);

    /// \brief The reply to the last request that was sent.
    std::string lastReply() const { return lastReply_; }

    /// \brief Ends serving, once the request handler has returned, and closes the pipe. May be repeated; the
    /// channel can be started again afterwards. Called by the request handler, it only asks the listener to
    /// end.
    void stop();

private:
    void Run(std::uint32_t id) override;

    void prepare();
    std::uint32_t openClientEnd();
    std::uint32_t transact(std::size_t length, DWORD& received);
    bool serveClient();
    bool waitForIo(DWORD& count);
    void answer(std::string_view message);
    void waitUntilFetched();

    const std::wstring& mutexName();
    const std::wstring& pipeBaseName();

    bool isFirstInstance_ = true;
    sys::CSafeDataHolder<bool> stopping_;
    win32::KernelHandle mutex_;
    win32::KernelHandle pipe_;
    std::vector<char> sendBuffer_;
    std::vector<char> receiveBuffer_;
    win32::KernelHandle stopEvent_;
    win32::KernelHandle ioEvent_;
    win32::KernelHandle listeningEvent_; ///< Set once the listener waits for a client, or has ended.
    OVERLAPPED overlapped_{};
    win32::CBaseThread<100> listener_;
    std::wstring mutexName_;
    std::wstring pipeBaseName_;
    IRequestHandler* handler_ = nullptr;
    std::string lastReply_;
};

} // namespace ipc
