#pragma once

#include "win32/winhttp_handle.h"

#include <cstdint>
#include <string>

namespace web {

/// A proxy. Used if the host or the port is set.
struct TNetProxy {
    std::uint64_t kind = 0; ///< Stored, but without effect.
    std::string host{};     ///< In the ANSI code page.
    std::uint32_t port = 0;
    std::wstring user{};
    std::wstring password{};

    bool isUsed() const { return !host.empty() || port != 0; }
};

/// Credentials for a server. Used if both user and password are set.
struct TNetCredentials {
    std::wstring user;
    std::wstring password;
    std::wstring extra; ///< Stored, but without effect.
};

} // namespace web

namespace http {

/// The step at which a request failed.
enum Stage : std::uint32_t {
    kStageNone = 0,
    kStageCrackUrl = 14102,
    kStageHostName = 14103,
    kStageOpenSession = 14104,
    kStageConnect = 14105,
    kStageOpenRequest = 14106,
    kStageAddHeaders = 14107,
    kStageQueryAuthSchemes = 14110,
    kStageSetCredentials = 14111,
    kStageRedirectPolicy = 14112,
    kStageSend = 14113,
    kStageReceiveResponse = 14114,
    kStageWriteData = 14115,
    kStageQueryDataAvailable = 14116,
    kStageReadData = 14117,
    kStageOutput = 14118,
    kStageTimeouts = 14119,
    kStageHandleVanished = 14120,
    kStageNoMoreData = 14121,
    kStageEmptyRead = 14122,
};

/// The outcome of a request: a Windows error number and the step that failed, both 0 on success.
struct TResult {
    std::uint32_t error = 0;
    std::uint32_t stage = 0;

    bool isGood() const { return error == 0 && stage == 0; }
};

/// The open handles of a running request.
struct THttpConnectionHandles {
    win32::WinHttpHandle session;
    win32::WinHttpHandle connect;
    win32::WinHttpHandle request;
};

namespace redirect {

enum class TRedirectPolicy : std::uint32_t {
    systemDefault = 0,
    never = 1,
    systemDefaultToo = 2,
    always = 3, ///< Also from https to http.
};

} // namespace redirect

} // namespace http
