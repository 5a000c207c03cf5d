#include "commands.h"
#include "console.h"
#include "errors.h"

#include <algorithm>
#include <atomic>
#include <iterator>

#include <io.h>

namespace host {
namespace {

constexpr DWORD kPollInterval = 200; // milliseconds
constexpr int kBarWidth = 40;
constexpr std::uint32_t kFirstErrorStatus = 400;
constexpr std::uint32_t kHighestPort = 65535;
constexpr std::uint32_t kLongestTimeout = 0xFFFFFFFF; // seconds

struct StageText {
    std::uint32_t stage;
    const wchar_t* text;
};

constexpr StageText kStageTexts[] = {
    {ZELSYSHELPER_STAGE_RUNNING, L"a download is running already"},
    {ZELSYSHELPER_STAGE_NO_URL, L"no URL was given"},
    {ZELSYSHELPER_STAGE_READY, L"the download's event could not be reset"},
    {ZELSYSHELPER_STAGE_THREAD, L"the download's thread could not be started"},
    {ZELSYSHELPER_STAGE_NO_LENGTH, L"the server announces no length, or the length 0"},
    {ZELSYSHELPER_STAGE_FILE,
     L"the file cannot be made; check the folder, and the name behind the URL's last \"/\""},
    {ZELSYSHELPER_STAGE_URL, L"the URL cannot be understood"},
    {ZELSYSHELPER_STAGE_HOST, L"the URL has no host name"},
    {ZELSYSHELPER_STAGE_SESSION, L"no HTTP session could be opened; check the proxy's name"},
    {ZELSYSHELPER_STAGE_CONNECT, L"the connection could not be prepared"},
    {ZELSYSHELPER_STAGE_REQUEST, L"the request could not be prepared"},
    {ZELSYSHELPER_STAGE_HEADERS, L"the request's headers were refused"},
    {ZELSYSHELPER_STAGE_AUTH_SCHEMES, L"the server's ways to sign in could not be found out"},
    {ZELSYSHELPER_STAGE_CREDENTIALS, L"the credentials were refused"},
    {ZELSYSHELPER_STAGE_REDIRECTS, L"the redirect policy was refused"},
    {ZELSYSHELPER_STAGE_SEND, L"the request could not be sent; check host, proxy and network"},
    {ZELSYSHELPER_STAGE_RECEIVE, L"no valid reply came"},
    {ZELSYSHELPER_STAGE_BODY, L"the request's body could not be sent"},
    {ZELSYSHELPER_STAGE_AVAILABLE, L"the connection broke"},
    {ZELSYSHELPER_STAGE_READ, L"the connection broke while reading"},
    {ZELSYSHELPER_STAGE_WRITE, L"the file could not be written; check the free space"},
    {ZELSYSHELPER_STAGE_TIMEOUTS, L"the time-outs were refused"},
    {ZELSYSHELPER_STAGE_CLOSED, L"the connection was closed before the end"},
    {ZELSYSHELPER_STAGE_CUT, L"the server ended the file too early"},
    {ZELSYSHELPER_STAGE_EMPTY, L"the server ended the file too early"},
};

std::atomic<bool> interrupted = false;

BOOL WINAPI onControl(DWORD) {
    interrupted = true;
    return TRUE;
}

struct Options {
    std::wstring url, folder, proxyHost, proxyUser, proxyPassword;
    std::uint32_t proxyPort = 0;
    std::uint32_t timeout = 0; // seconds; 0 for none
};

/// What getDownloadFileErrors() returns.
struct Outcome {
    std::uint32_t error = 0, stage = 0, status = 0;

    explicit Outcome(const Library& library) { library.getDownloadFileErrors(&error, &stage, &status); }
    bool isGood() const { return error == 0 && stage == 0 && status < kFirstErrorStatus; }
};

enum class End { kReached, kInterrupted, kTimedOut };

/// Returns the number that the text consists of; 0 for any other text and above the limit.
std::uint32_t number(const std::wstring& text, std::uint32_t limit) {
    const bool isNumber = text.find_first_not_of(L"0123456789") == text.npos;
    const auto value = isNumber ? _wcstoui64(text.c_str(), nullptr, 10) : 0;
    return value <= limit ? static_cast<std::uint32_t>(value) : 0;
}

/// \return Empty when all is well, otherwise what is wrong with the arguments.
std::wstring parse(const Arguments& arguments, Options& options) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::wstring& argument = arguments[i];
        if (!argument.starts_with(L"--")) {
            if (!options.url.empty())
                return L"more than one URL";
            options.url = argument;
            continue;
        }
        if (i + 1 == arguments.size())
            return argument + L" requires a value";
        const std::wstring& value = arguments[++i];
        if (argument == L"--folder") {
            options.folder = fullPath(value);
        } else if (argument == L"--proxy") {
            const auto colon = value.rfind(L':');
            options.proxyPort = colon != value.npos ? number(value.substr(colon + 1), kHighestPort) : 0;
            if (options.proxyPort == 0)
                return L"--proxy requires HOST:PORT";
            options.proxyHost = value.substr(0, colon);
        } else if (argument == L"--timeout") {
            options.timeout = number(value, kLongestTimeout);
            if (options.timeout == 0)
                return L"--timeout requires a whole number of seconds from 1 to 4294967295";
        } else if (argument == L"--proxy-user") {
            options.proxyUser = value;
        } else if (argument == L"--proxy-password") {
            options.proxyPassword = value;
        } else {
            return L"unknown option " + argument;
        }
    }
    return options.url.empty() ? L"no URL" : L"";
}

/// Where the library writes the file, see startDownloadFile().
std::wstring outputPath(const Options& options) {
    const wchar_t* roaming = _wgetenv(L"APPDATA");
    const std::wstring folder = !options.folder.empty() || roaming == nullptr
                                    ? options.folder
                                    : std::wstring(roaming) + L"\\Quenlith";
    return folder + L"\\" + options.url.substr(options.url.rfind(L'/') + 1);
}

std::int64_t fileSize(const std::wstring& path) {
    const HANDLE file = CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    LARGE_INTEGER size{};
    if (file != INVALID_HANDLE_VALUE) {
        GetFileSizeEx(file, &size);
        CloseHandle(file);
    }
    return size.QuadPart;
}

void showProgress(std::uint32_t percent, std::uint32_t seconds, std::int64_t bytes) {
    const auto filled = static_cast<std::size_t>(std::min(percent, 100u) * kBarWidth / 100);
    std::wstring line = L"\r[" + std::wstring(filled, L'#') + std::wstring(kBarWidth - filled, L'.') + L"] " +
                        std::to_wstring(percent) + L" %  " + std::to_wstring(seconds) + L" s";
    if (seconds != 0)
        line += L"  " + std::to_wstring(bytes / seconds / 1024) + L" KiB/s";
    printPart(line + L"   ");
}

/// Polls until the download ends, the user interrupts it or its time is over.
End follow(const Library& library, const Options& options) {
    const bool isTerminal = _isatty(_fileno(stdout)) != 0;
    const std::wstring path = outputPath(options);
    const ULONGLONG begin = GetTickCount64();
    for (bool isFirst = true;; isFirst = false) {
        Sleep(isFirst ? 0 : kPollInterval);
        std::uint8_t isRunning = 0;
        std::uint32_t percent = 0, seconds = 0;
        library.isDownloadFileStarted(&isRunning);
        library.getDownloadFileProgress(&percent);
        library.getDownloadElapsedTimeInSeconds(&seconds);
        // The progress of a download that has failed is 100 as well.
        const bool isShown = isRunning != 0 ? isTerminal : Outcome(library).isGood();
        if (isShown)
            showProgress(percent, seconds, fileSize(path));
        const bool isTimedOut = options.timeout != 0 && GetTickCount64() - begin >= options.timeout * 1000ULL;
        if (isRunning != 0 && !interrupted && !isTimedOut)
            continue;
        if (isTerminal || isShown)
            printPart(L"\n");
        return isRunning == 0 ? End::kReached : interrupted ? End::kInterrupted : End::kTimedOut;
    }
}

int report(const Outcome& outcome) {
    field("errorNumber", outcome.error);
    field("stage", outcome.stage);
    field("httpStatus", outcome.status);
    if (outcome.isGood())
        return kDone;
    const std::wstring stage = L"stage " + std::to_wstring(outcome.stage);
    if (outcome.status >= kFirstErrorStatus) {
        complain(L"the server answered with HTTP status " + std::to_wstring(outcome.status) +
                 (outcome.stage == 0 ? L"; what was downloaded is its error page" : L" (" + stage + L")"));
        return kFailed;
    }
    const auto* row = std::ranges::find(kStageTexts, outcome.stage, &StageText::stage);
    const std::wstring text = row != std::end(kStageTexts) ? row->text : L"the download failed";
    complain(text + L" (" + stage + L", HTTP status " + std::to_wstring(outcome.status) + L"). Error " +
             describeError(outcome.error));
    return kFailed;
}

int run(const Library& library, const Arguments& arguments) {
    Options options;
    if (const std::wstring problem = parse(arguments, options); !problem.empty())
        return wrongUsage(kDownloadCommand, problem);

    SetConsoleCtrlHandler(onControl, TRUE);
    const auto error =
        library.startDownloadFile(options.proxyHost.c_str(), options.proxyPort, options.proxyUser.c_str(),
                                  options.proxyPassword.c_str(), options.url.c_str(), options.folder.c_str());
    field("file", outputPath(options));
    const End end = error != 0 ? End::kReached : follow(library, options);
    int code = kFailed;
    if (end == End::kReached)
        code = report(Outcome(library));
    else
        complain((end == End::kTimedOut ? L"not finished after " + std::to_wstring(options.timeout) + L" s"
                                        : std::wstring(L"interrupted")) +
                 L"; the part that arrived is left in the file");
    library.stopDownloadFile();
    return code;
}

} // namespace

const Command kDownloadCommand{
    L"download",
    L"download URL [--folder FOLDER] [--timeout SECONDS] [--proxy HOST:PORT]\n"
    L"         [--proxy-user USER --proxy-password PASSWORD]\n"
    L"    Downloads a file and shows its progress; Ctrl+C and the time-out stop it. The file goes to the "
    L"folder,\n"
    L"    or to the suite's settings folder, under the name after the URL's last \"/\". A port in the URL "
    L"is\n"
    L"    ignored.",
    run,
};

} // namespace host
