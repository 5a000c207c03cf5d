#include "shell/shell_link.h"

#include "text/trim.h"
#include "win32/com.h"

namespace shell {
namespace {

TLinkOutcome writeLink(const std::wstring& target, const std::wstring& linkPath,
                       const std::optional<std::wstring>& description) {
    const auto failed = [](LinkStep step, HRESULT result) {
        return TLinkOutcome{static_cast<std::uint32_t>(HRESULT_CODE(result)), step};
    };
    win32::ComPointer<IShellLinkW> link;
    HRESULT result = win32::checked(
        CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(link.receive())), link);
    if (FAILED(result))
        return failed(LinkStep::create, result);
    if (result = link->SetPath(target.c_str()); FAILED(result))
        return failed(LinkStep::setPath, result);
    if (description)
        if (result = link->SetDescription(description->c_str()); FAILED(result))
            return failed(LinkStep::setDescription, result);
    win32::ComPointer<IPersistFile> file;
    if (result = win32::checked(link->QueryInterface(IID_PPV_ARGS(file.receive())), file); FAILED(result))
        return failed(LinkStep::persistFile, result);
    if (result = file->Save(linkPath.c_str(), TRUE); FAILED(result))
        return failed(LinkStep::save, result);
    return {};
}

} // namespace

TLinkOutcome createLink(const std::wstring& target, const std::wstring& linkPath,
                        const std::optional<std::wstring>& description) {
    const std::wstring cleanTarget = text::trimmed(target);
    if (cleanTarget.empty())
        return {ERROR_INVALID_PARAMETER, LinkStep::target};
    const std::wstring cleanLinkPath = text::trimmed(linkPath);
    if (cleanLinkPath.empty())
        return {ERROR_INVALID_PARAMETER, LinkStep::linkPath};
    return writeLink(cleanTarget, cleanLinkPath, description);
}

} // namespace shell
