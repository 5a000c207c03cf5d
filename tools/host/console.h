#pragma once

#include <cstdint>
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

enum class Colour { good, bad, doubtful };

/// \brief UTF-8 of a wide text of this system; what does not convert becomes the replacement character.
std::string toUtf8(std::wstring_view wide);

/// \brief The full path of a path that may be relative.
std::wstring fullPath(const std::wstring& path);

/// \brief From now on nothing is printed until `finish`, which prints one JSON object. What the DLL prints by
/// itself goes to standard error then.
void useJson();

/// \brief Prints text to standard output, as UTF-8; nothing in JSON mode.
void printPart(std::wstring_view text);

/// \brief Prints one line to standard output, as UTF-8; nothing in JSON mode.
void print(std::wstring_view line);

/// \brief Prints "zelsyshelper-host: " and one line to standard error, as UTF-8. In JSON mode the line
/// becomes the member "error".
void complain(std::wstring_view line);

/// \brief Text in a colour, where standard output is a terminal; elsewhere the text alone.
std::wstring coloured(Colour colour, std::wstring_view text);

/// \name Members of the JSON object; nothing elsewhere.
/// @{
void field(std::string_view name, std::wstring_view text);
void field(std::string_view name, std::int64_t number);
void flag(std::string_view name, bool isSet);
/// @}

/// \brief Answers a question by yes or no, and by a member in JSON mode.
/// \return The exit code that goes with the answer.
int answer(std::string_view name, bool isYes);

/// \brief In JSON mode prints the object, with "ok" and "exitCode".
/// \return \p code.
int finish(int code);

} // namespace host
