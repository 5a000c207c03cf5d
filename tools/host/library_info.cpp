#include "library_info.h"

#include <winver.h>

namespace host {
namespace {

std::wstring textOf(const std::string& block, const wchar_t* name) {
    void* text = nullptr;
    UINT size = 0;
    const std::wstring path = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
    const bool isFound = VerQueryValueW(block.data(), path.c_str(), &text, &size) && size > 0;
    return isFound ? std::wstring(static_cast<const wchar_t*>(text)) : std::wstring();
}

} // namespace

LibraryInfo libraryInfo(HMODULE module) {
    LibraryInfo info{};
    info.path.resize(32768);
    info.path.resize(GetModuleFileNameW(module, info.path.data(), static_cast<DWORD>(info.path.size())));
    std::string block(GetFileVersionInfoSizeW(info.path.c_str(), nullptr), '\0');
    if (block.empty() ||
        !GetFileVersionInfoW(info.path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()))
        return info;
    info.version = textOf(block, L"FileVersion");
    info.statisticsUrl = textOf(block, L"StatisticsUrl");
    info.countryUrl = textOf(block, L"CountryUrl");
    return info;
}

} // namespace host
