#pragma once

#include <cstdint>

namespace xferlib {

/// Transport codes. Log messages contain these numbers, so they must not change.
enum TransferCode : std::int32_t {
    kOk = 0,
    kUnsupportedScheme = 1,
    kInitFailed = 2,
    kMalformedUrl = 3,
    kProxyNotResolved = 5,
    kHostNotResolved = 6,
    kCannotConnect = 7,
    kPartialBody = 18,
    kOutOfMemory = 27,
    kTimedOut = 28,
    kTlsHandshake = 35,
    kTooManyRedirects = 47,
    kEmptyReply = 52,
    kSendFailed = 55,
    kReceiveFailed = 56,
    kClientCertificateProblem = 58,
    kCertificateRejected = 60,
    kBodyTooLarge = 63,
    kLoginDenied = 67,
};

/// \brief Returns the transport code for an error of WinHTTP or of a socket.
/// \param error A Windows error number.
/// \param otherwise Returned for an error without a code of its own.
TransferCode transferCode(unsigned long error, TransferCode otherwise);

} // namespace xferlib
