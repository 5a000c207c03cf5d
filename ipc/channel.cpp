#include "ipc/channel.h"

#include "ipc/channel_names.h"
#include "ipc/message_format.h"

namespace ipc {
namespace {

constexpr char kOwnName[] = "ZelSysHelper";
constexpr DWORD kDefaultTimeOut = 15000; // milliseconds

win32::KernelHandle makeEvent() {
    return win32::KernelHandle(CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

} // namespace

CInterprocessCommunicationWin::CInterprocessCommunicationWin(const std::wstring& mutexName,
                                                             const std::wstring& pipeBaseName)
    : stopEvent_(makeEvent()), ioEvent_(makeEvent()), listeningEvent_(makeEvent()), mutexName_(mutexName),
      pipeBaseName_(pipeBaseName) {
    listener_.setFunction(this);
    const std::wstring& name = this->mutexName();
    mutex_.reset(CreateMutexW(nullptr, FALSE, name.c_str()));
    const DWORD error = GetLastError();
    if (error == ERROR_ALREADY_EXISTS || error == ERROR_ACCESS_DENIED) {
        mutex_.reset(OpenMutexW(MUTEX_ALL_ACCESS, TRUE, name.c_str()));
        isFirstInstance_ = false;
    }
    overlapped_.hEvent = ioEvent_.get();
}

CInterprocessCommunicationWin::~CInterprocessCommunicationWin() {
    stop();
    ReleaseMutex(mutex_.get());
}

std::uint32_t CInterprocessCommunicationWin::startServer() {
    if (listener_.isRunning())
        return ERROR_BUSY;
    prepare();
    SECURITY_DESCRIPTOR everybody;
    InitializeSecurityDescriptor(&everybody, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&everybody, TRUE, nullptr, FALSE);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, &everybody, FALSE};
    win32::KernelHandle pipe(CreateNamedPipeW(
        (L"\\\\.\\pipe\\" + pipeBaseName()).c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
        PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES, kLargestMessage,
        kLargestMessage, kDefaultTimeOut, &attributes));
    if (!pipe)
        return GetLastError();
    pipe_ = std::move(pipe);
    const std::uint32_t error = listener_.Start();
    if (error != 0)
        pipe_.reset(); // clients of a pipe that nobody serves would wait for ever
    else
        WaitForSingleObject(listeningEvent_.get(), INFINITE);
    return error;
}

void CInterprocessCommunicationWin::stop() {
    stopping_.set(true);
    SetEvent(stopEvent_.get());
    ResetEvent(ioEvent_.get());
    if (listener_.isOwnThread())
        return; // the listener still needs the pipe and the buffers to get out
    listener_.waitFinished();
    pipe_.reset();
    sendBuffer_ = {};
    receiveBuffer_ = {};
}

void CInterprocessCommunicationWin::prepare() {
    ResetEvent(stopEvent_.get());
    ResetEvent(ioEvent_.get());
    ResetEvent(listeningEvent_.get());
    stopping_.set(false);
    sendBuffer_.resize(kLargestMessage);
    receiveBuffer_.resize(kLargestMessage);
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
