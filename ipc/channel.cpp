#include "ipc/channel.h"

#include "ipc/channel_names.h"
#include "ipc/message_format.h"
#include "win32/event.h"

namespace ipc {
namespace {

constexpr char kOwnName[] = "ZelSysHelper";
constexpr DWORD kDefaultTimeOut = 15000; // milliseconds

} // namespace

CInterprocessCommunicationWin::CInterprocessCommunicationWin(const std::wstring& mutexName,
                                                             const std::wstring& pipeBaseName)
    : mutexName_(mutexName), pipeBaseName_(pipeBaseName) {
    listener_.setFunction(this);
    const std::wstring& name = this->mutexName();
    mutex_.reset(CreateMutexW(nullptr, FALSE, name.c_str()));
    const DWORD error = GetLastError();
    if (error == ERROR_ALREADY_EXISTS || error == ERROR_ACCESS_DENIED) {
        mutex_.reset(OpenMutexW(MUTEX_ALL_ACCESS, TRUE, name.c_str()));
        isFirstInstance_ = false;
    }
}

CInterprocessCommunicationWin::~CInterprocessCommunicationWin() {
    stop();
    ReleaseMutex(mutex_.get());
}

std::uint32_t CInterprocessCommunicationWin::startServer() {
    if (listener_.isRunning())
        return ERROR_BUSY;
    if (const std::uint32_t error = prepare({&stopEvent_, &ioEvent_, &listeningEvent_}))
        return error;
    if (const std::uint32_t error = createServerEnd())
        return error;
    if (const std::uint32_t error = listener_.Start()) {
        pipe_.reset(); // clients would wait for a server that does not listen
        return error;
    }
    WaitForSingleObject(listeningEvent_.get(), INFINITE);
    if (listenError_ != 0)
        listener_.waitFinished();
    return listenError_;
}

std::uint32_t CInterprocessCommunicationWin::createServerEnd() {
    SECURITY_DESCRIPTOR everybody;
    InitializeSecurityDescriptor(&everybody, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&everybody, TRUE, nullptr, FALSE);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, &everybody, FALSE};
    pipe_.reset(CreateNamedPipeW(
        (L"\\\\.\\pipe\\" + pipeBaseName()).c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
        PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES, kLargestMessage,
        kLargestMessage, kDefaultTimeOut, &attributes));
    return pipe_ ? 0 : GetLastError();
}

void CInterprocessCommunicationWin::stop() {
    stopping_.set(true);
    // A reset of ioEvent_ here could discard the completion that the listener waits for.
    SetEvent(stopEvent_.get());
    if (listener_.isOwnThread())
        return; // the listener still uses the pipe and the buffers
    listener_.waitFinished();
    pipe_.reset();
    isConnected_ = false;
    sendBuffer_ = {};
    receiveBuffer_.reset();
}

/// Creates the events and the buffer that the channel lacks, and resets its state.
/// \return 0, or the error of CreateEventW.
std::uint32_t CInterprocessCommunicationWin::prepare(std::initializer_list<win32::KernelHandle*> events) {
    for (win32::KernelHandle* event : events) {
        if (*event)
            ResetEvent(event->get());
        else
            *event = win32::makeEvent();
        if (!*event)
            return GetLastError();
    }
    overlapped_ = {};
    overlapped_.hEvent = ioEvent_.get();
    stopping_.set(false);
    if (!receiveBuffer_)
        receiveBuffer_ = std::make_unique_for_overwrite<char[]>(kLargestMessage);
    return 0;
}

/// Waits until the operation on `overlapped_` has completed. Cancels it when the channel stops or after
/// `timeOut` milliseconds.
/// \param[out] count Bytes transferred; 0 unless the result is 0 or `ERROR_MORE_DATA`.
/// \return 0; the operation's error; `ERROR_SEM_TIMEOUT`; `ERROR_OPERATION_ABORTED` if the channel stops or
/// the wait fails.
std::uint32_t CInterprocessCommunicationWin::waitForIo(DWORD timeOut, DWORD& count) {
    const HANDLE events[] = {stopEvent_.get(), ioEvent_.get()};
    const DWORD wait = WaitForMultipleObjects(2, events, FALSE, timeOut);
    const bool isComplete = wait == WAIT_OBJECT_0 + 1;
    if (!isComplete)
        CancelIoEx(pipe_.get(), &overlapped_);
    // A cancelled operation may use overlapped_ and the buffers until it has completed.
    std::uint32_t error =
        GetOverlappedResult(pipe_.get(), &overlapped_, &count, !isComplete) ? 0 : GetLastError();
    if (wait == WAIT_TIMEOUT && error == ERROR_OPERATION_ABORTED)
        error = ERROR_SEM_TIMEOUT;
    else if (!isComplete && wait != WAIT_TIMEOUT)
        error = ERROR_OPERATION_ABORTED;
    if (error != 0 && error != ERROR_MORE_DATA)
        count = 0;
    return error;
}

const std::wstring& CInterprocessCommunicationWin::mutexName() {
    if (mutexName_.empty())
        mutexName_ = instanceMutexName(kOwnName);
    return mutexName_;
}

const std::wstring& CInterprocessCommunicationWin::pipeBaseName() {
    if (pipeBaseName_.empty())
        pipeBaseName_ = ipc::pipeBaseName(kOwnName);
    return pipeBaseName_;
}

} // namespace ipc
