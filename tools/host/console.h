#pragma once

#include <string>
#include <string_view>

namespace host {

/// Exit codes of the program.
enum ExitCode : int {
    kDone = 0,
    kFailed = 1,    ///< The call failed, or the answer is no.
    kUsage = 2,     ///< The command line cannot be understood.
    kNoLibrary = 3, ///< The DLL cannot be loaded.
};

/// \brief UTF-8 of a wide text of this system; what does not convert becomes the replacement character.
std::string toUtf8(std::wstring_view wide);

/// \brief The full path of a path that may be relative.
std::wstring fullPath(const std::wstring& path);

/// \brief Prints text to standard output, as UTF-8.
void printPart(std::wstring_view text);

/// \brief Prints one line to standard output, as UTF-8.
void print(std::wstring_view line);

/// \brief Prints "zelsyshelper-host: " and one line to standard error, as UTF-8.
void complain(std::wstring_view line);

} // namespace host
