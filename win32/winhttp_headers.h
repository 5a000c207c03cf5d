#pragma once

#include <optional>
#include <string>

#include <windows.h>

#include <winhttp.h>

// Headers of a reply, after WinHttpReceiveResponse.
namespace win32 {

/// \brief Returns a header as a number.
/// \param header A WINHTTP_QUERY_... value without flags.
/// \return `nullopt` if the reply lacks the header, or if it is not a number.
std::optional<DWORD> numberHeader(HINTERNET request, DWORD header);

/// \brief Returns a header as text.
/// \param header A WINHTTP_QUERY_... value without flags.
/// \param index Selects one of several headers of the same name; `nullopt` for a header that occurs once.
/// \return `nullopt` if WinHttpQueryHeaders fails, with ERROR_WINHTTP_HEADER_NOT_FOUND in GetLastError if the
///         reply lacks the header.
std::optional<std::wstring> textHeader(HINTERNET request, DWORD header, std::optional<DWORD> index = {});

} // namespace win32
