#pragma once

#include "win32/winhttp_handle.h"

#include <memory>
#include <string>

namespace xferlib {

using Session = std::shared_ptr<const win32::WinHttpHandle>;

/// \brief The session for a way out: "host:port" of a proxy, or empty for none.
///
/// The last session is kept, so that requests that go the same way share its open connections. A caller holds
/// its session for as long as it uses it, also when another caller turns to another way meanwhile.
///
/// A session that has been idle for more than 30 seconds is replaced. Routers and firewalls drop idle
/// connections without notice, and the next request would wait for its time-out on one.
/// \return Null when WinHTTP refuses; GetLastError tells why.
Session openSession(const std::wstring& proxy);

} // namespace xferlib
