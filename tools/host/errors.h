#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace host {

/// Why something failed. Each part may be missing.
struct Cause {
    std::optional<std::int64_t> number{}; ///< A Windows error number, or a code of the library.
    std::wstring name{};                  ///< The constant of the number.
    std::wstring text{};                  ///< What the number means.
    std::wstring advice{};                ///< What to do next.
};

/// \brief Describes a Windows error number: its constant and advice if known, and the system's text.
Cause windowsError(std::uint32_t number);

/// \brief Returns "text (number, name)", as far as these are known.
std::wstring described(const Cause& cause);

/// \brief Reports a failure on standard error: "what: text (number, name); advice". In JSON mode adds the
/// members "error", "errorNumber", "errorName", "errorText" and "advice", as far as these are known, in place
/// of those of an earlier failure.
/// \param what What failed, on which object.
/// \param detail Follows \p what on standard error. In JSON mode the caller adds its facts as members.
/// \return \ref kFailed.
int fail(const std::wstring& what, const Cause& cause = {}, const std::wstring& detail = {});

} // namespace host
