#pragma once

#include "win32/winhttp_handle.h"

#include <memory>
#include <string>

namespace xferlib {

using Session = std::shared_ptr<const win32::WinHttpHandle>;

/// \brief Returns the session for a proxy, or for direct connections.
///
/// Caches one session, so that successive requests through the same proxy reuse its connections. Callers
/// share ownership: a session stays open until its last caller releases it, even if the cache has replaced
/// it.
///
/// Replaces a session that no caller has acquired or released for more than 30 seconds. Routers and firewalls
/// drop idle connections without notice, and the next request on such a connection would time out.
/// \param proxy "host:port"; empty for direct connections.
/// \return Null if WinHttpOpen fails; GetLastError returns the error.
Session openSession(const std::wstring& proxy);

} // namespace xferlib
