#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace shell {

/// The step at which writing a link failed.
enum class LinkStep : std::uint32_t {
    none = 0,
    target = 1,
    linkPath = 2,
    create = 21,
    setPath = 22,
    setDescription = 23,
    persistFile = 24,
    save = 25,
};

struct TLinkOutcome {
    std::uint32_t error = 0; ///< A Windows error number, or the low 16 bits of an HRESULT.
    LinkStep failedStep = LinkStep::none;
};

/// \brief Writes a shell link and overwrites an existing one. Trims white space around both paths.
///
/// COM must be initialised on the calling thread.
/// \param target Path to which the link points. It need not exist.
/// \param linkPath The full path of the link's file, with its extension.
TLinkOutcome createLink(const std::wstring& target, const std::wstring& linkPath,
                        const std::optional<std::wstring>& description);

} // namespace shell
