#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace host {

/// Exit codes of the program.
enum ExitCode : int {
    kDone = 0,
    kFailed = 1,        ///< The call failed, or the answer is no.
    kUsage = 2,         ///< The command line cannot be understood.
    kNoLibrary = 3,     ///< The DLL cannot be loaded.
    kInterrupted = 130, ///< Ctrl+C, or the console was closed.
};

enum class Colour { good, bad, doubtful };

/// \brief Converts UTF-16 to UTF-8. Unpaired surrogates become the replacement character.
std::string toUtf8(std::wstring_view wide);

/// \brief Converts UTF-8 to UTF-16. Invalid bytes become the replacement character.
std::wstring toWide(std::string_view narrow);

/// \brief Returns the full path of a path that may be relative; empty for an empty path.
std::wstring fullPath(const std::wstring& path);

/// \brief Sets the console to UTF-8 until `finish`.
void openConsole();

/// \brief Suppresses all text until `finish`, which prints one JSON object. Redirects the DLL's own output to
/// standard error.
void useJson();

/// \brief Prints text to standard output, as UTF-8; nothing in JSON mode.
void printPart(std::wstring_view text);

/// \brief Prints one line to standard output, as UTF-8; nothing in JSON mode.
void print(std::wstring_view line);

/// \brief Prints "zelsyshelper-host: " and one line to standard error, as UTF-8; nothing in JSON mode.
void printError(std::wstring_view line);

/// \brief Returns text in a colour if standard output is a terminal, else the text alone.
std::wstring coloured(Colour colour, std::wstring_view text);

/// Names and values.
using Facts = std::vector<std::pair<std::string_view, std::variant<std::int64_t, std::wstring>>>;

/// \name Add members to the JSON object. No effect without --json.
/// A later member replaces an earlier one of the same name.
/// @{
void field(std::string_view name, std::wstring_view text);
void field(std::string_view name, std::int64_t number);
void flag(std::string_view name, bool isSet);
/// Removes a member.
void omit(std::string_view name);
/// Adds an object with the members "state", "text" and \p facts.
void finding(std::string_view name, std::wstring_view state, std::wstring_view text, const Facts& facts);
/// @}

/// \brief Makes "ok" null in the JSON object: the command was carried out, and its success is unknown.
void leaveOutcomeOpen();

/// \brief Answers a question by yes or no, and by a member in JSON mode.
/// \return The exit code of the answer.
int answer(std::string_view name, bool isYes);

/// \brief Makes the calling thread the one that ends the process. Discards what other threads print and the
/// members that they add. Does not return if another thread has called it before.
void claimEnd();

/// \brief Prints the object in JSON mode, with "ok" and "exitCode", and resets the console. Calls `claimEnd`.
/// \return \p code.
int finish(int code);

} // namespace host
