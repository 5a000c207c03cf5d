#include "xferlib/transfer_code.h"

#include <windows.h>

#include <winhttp.h>

namespace xferlib {
namespace {

struct Row {
    unsigned long error;
    TransferCode code;
};

constexpr unsigned long kSocketTimedOut = 10060, kSocketAborted = 10053, kSocketReset = 10054,
                        kSocketRefused = 10061;

constexpr Row kRows[] = {
    {ERROR_WINHTTP_UNRECOGNIZED_SCHEME, kUnsupportedScheme},
    {ERROR_WINHTTP_INVALID_URL, kMalformedUrl},
    {ERROR_WINHTTP_NAME_NOT_RESOLVED, kHostNotResolved},
    {ERROR_WINHTTP_CANNOT_CONNECT, kCannotConnect},
    {kSocketRefused, kCannotConnect},
    {ERROR_NOT_ENOUGH_MEMORY, kOutOfMemory},
    {ERROR_OUTOFMEMORY, kOutOfMemory},
    {ERROR_WINHTTP_TIMEOUT, kTimedOut},
    {kSocketTimedOut, kTimedOut},
    {ERROR_WINHTTP_SECURE_CHANNEL_ERROR, kTlsHandshake},
    {ERROR_WINHTTP_REDIRECT_FAILED, kTooManyRedirects},
    {ERROR_WINHTTP_INVALID_SERVER_RESPONSE, kEmptyReply},
    {ERROR_WINHTTP_CONNECTION_ERROR, kReceiveFailed},
    {kSocketAborted, kReceiveFailed},
    {kSocketReset, kReceiveFailed},
    {ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED, kClientCertificateProblem},
    {ERROR_WINHTTP_SECURE_FAILURE, kCertificateRejected},
    {ERROR_WINHTTP_SECURE_CERT_DATE_INVALID, kCertificateRejected},
    {ERROR_WINHTTP_SECURE_CERT_CN_INVALID, kCertificateRejected},
    {ERROR_WINHTTP_SECURE_CERT_REV_FAILED, kCertificateRejected},
    {ERROR_WINHTTP_SECURE_CERT_REVOKED, kCertificateRejected},
    {ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE, kCertificateRejected},
    {ERROR_WINHTTP_SECURE_INVALID_CA, kCertificateRejected},
    {ERROR_WINHTTP_SECURE_INVALID_CERT, kCertificateRejected},
    {ERROR_WINHTTP_LOGIN_FAILURE, kLoginDenied},
};

} // namespace

TransferCode transferCode(unsigned long error, TransferCode otherwise) {
    for (const Row& row : kRows)
        if (row.error == error)
            return row.code;
    return otherwise;
}

} // namespace xferlib
