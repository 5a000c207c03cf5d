#include "commands.h"
#include "console.h"
#include "errors.h"
#include "interrupt.h"
#include "win32/known_folders.h"
#include "win32/owner.h"
#include "win32/path.h"

#include <algorithm>
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
    const wchar_t* advice; ///< Used unless the Windows error has its own advice.
};

constexpr StageText kStageTexts[] = {
    {ZELSYSHELPER_STAGE_RUNNING, L"a download is already running", L"wait for it or stop it"},
    {ZELSYSHELPER_STAGE_NO_URL, L"no URL was given", L""},
    {ZELSYSHELPER_STAGE_READY, L"the download's event is missing or could not be reset", L""},
    {ZELSYSHELPER_STAGE_THREAD, L"the download's thread could not be started, or ran out of memory", L""},
    {ZELSYSHELPER_STAGE_NO_LENGTH, L"the server announces no length, or the length 0", L""},
    {ZELSYSHELPER_STAGE_FILE, L"the file cannot be created",
     L"check the folder, and the name after the last \"/\" of the URL"},
    {ZELSYSHELPER_STAGE_URL, L"the URL cannot be parsed", L""},
    {ZELSYSHELPER_STAGE_HOST, L"the URL has no host name", L""},
    {ZELSYSHELPER_STAGE_SESSION, L"no HTTP session could be opened", L"check the proxy's name"},
    {ZELSYSHELPER_STAGE_CONNECT, L"the connection could not be prepared", L""},
    {ZELSYSHELPER_STAGE_REQUEST, L"the request could not be prepared", L""},
    {ZELSYSHELPER_STAGE_HEADERS, L"the request's headers were refused", L""},
    {ZELSYSHELPER_STAGE_AUTH_SCHEMES, L"the server's authentication schemes could not be queried", L""},
    {ZELSYSHELPER_STAGE_CREDENTIALS, L"the credentials were refused", L""},
    {ZELSYSHELPER_STAGE_REDIRECTS, L"the redirect policy was refused", L""},
    {ZELSYSHELPER_STAGE_SEND, L"the request could not be sent", L"check host, proxy and network"},
    {ZELSYSHELPER_STAGE_RECEIVE, L"no valid reply arrived", L""},
    {ZELSYSHELPER_STAGE_BODY, L"the request's body could not be sent", L""},
    {ZELSYSHELPER_STAGE_AVAILABLE, L"the connection was lost", L""},
    {ZELSYSHELPER_STAGE_READ, L"the connection was lost while reading", L""},
    {ZELSYSHELPER_STAGE_WRITE, L"the file could not be written", L"check the free space"},
    {ZELSYSHELPER_STAGE_TIMEOUTS, L"the time-outs were refused", L""},
    {ZELSYSHELPER_STAGE_CLOSED, L"the connection was closed before the end", L""},
    {ZELSYSHELPER_STAGE_CUT, L"the server ended the file too early", L""},
    {ZELSYSHELPER_STAGE_EMPTY, L"the server ended the file too early", L""},
};

constexpr Option kOptions[] = {{L"--folder", true},
                               {L"--proxy", true},
                               {L"--proxy-user", true},
                               {L"--proxy-password", true},
                               {L"--timeout", true}};

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

/// Converts the parameters to options.
/// \return Empty if the parameters are valid, otherwise their fault.
std::wstring read(const Parameters& parameters, Options& options) {
    if (parameters.positional.size() != 1)
        return L"download requires one URL";
    options.url = parameters.positional[0];
    options.proxyUser = parameters.value(L"--proxy-user");
    options.proxyPassword = parameters.value(L"--proxy-password");
    if (parameters.has(L"--folder")) {
        options.folder = fullPath(parameters.value(L"--folder"));
        if (options.folder.empty())
            return L"--folder requires a path";
    }
    if (parameters.has(L"--proxy")) {
        const std::wstring value = parameters.value(L"--proxy");
        const auto colon = value.rfind(L':');
        options.proxyPort = colon != value.npos ? wholeNumber(value.substr(colon + 1), kHighestPort) : 0;
        options.proxyHost = value.substr(0, colon);
        const bool isBareIpv6 = options.proxyHost.find(L':') != value.npos && value.front() != L'[';
        if (options.proxyPort == 0 || colon == 0 || isBareIpv6)
            return L"--proxy requires HOST:PORT, and brackets around an IPv6 address";
    }
    if (parameters.has(L"--timeout")) {
        options.timeout = wholeNumber(parameters.value(L"--timeout"), kLongestTimeout);
        if (options.timeout == 0)
            return L"--timeout requires a whole number of seconds from 1 to 4294967295";
    }
    return {};
}

/// Returns the path to which the library writes the file, see startDownloadFile().
std::wstring outputPath(const Options& options) {
    std::wstring folder = options.folder;
    if (folder.empty())
        folder =
            win32::joinPath(win32::knownFolder(win32::KnownFolder::roamingAppData, {}), win32::kBrandFolder);
    return folder + L"\\" + options.url.substr(options.url.rfind(L'/') + 1);
}

std::int64_t fileSize(const std::wstring& path) {
    const win32::KernelHandle file(CreateFileW(path.c_str(), FILE_READ_ATTRIBUTES,
                                               FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                               nullptr, OPEN_EXISTING, 0, nullptr));
    LARGE_INTEGER size{};
    if (file)
        GetFileSizeEx(file.get(), &size);
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

/// Polls until the download ends, the user interrupts it or it times out.
End follow(const Library& library, const Options& options, const PolledInterrupt& interrupt) {
    const bool isTerminal = _isatty(_fileno(stdout)) != 0;
    const std::wstring path = outputPath(options);
    const ULONGLONG begin = GetTickCount64();
    for (bool isFirst = true;; isFirst = false) {
        Sleep(isFirst ? 0 : kPollInterval);
        std::uint8_t isRunning = 0, isCompleted = 0;
        std::uint32_t percent = 0, seconds = 0;
        library.isDownloadFileStarted(&isRunning);
        library.isDownloadFileCompleted(&isCompleted);
        const bool hasEnded = isCompleted != 0 || isRunning == 0; // a refused start never completes
        library.getDownloadFileProgress(&percent);
        library.getDownloadElapsedTimeInSeconds(&seconds);
        // The progress of a download that has failed is 100 as well.
        const bool isShown = hasEnded ? Outcome(library).isGood() : isTerminal;
        if (isShown)
            showProgress(percent, seconds, fileSize(path));
        const bool isTimedOut = options.timeout != 0 && GetTickCount64() - begin >= options.timeout * 1000ULL;
        const bool isInterrupted = interrupt.isSet();
        if (!hasEnded && !isInterrupted && !isTimedOut)
            continue;
        if (isTerminal || isShown)
            printPart(L"\n");
        return hasEnded ? End::kReached : isInterrupted ? End::kInterrupted : End::kTimedOut;
    }
}

int report(const std::wstring& what, const Outcome& outcome) {
    field("errorNumber", outcome.error);
    field("stage", outcome.stage);
    field("httpStatus", outcome.status);
    if (outcome.isGood())
        return kDone;
    const std::wstring stage = L"stage " + std::to_wstring(outcome.stage);
    const std::wstring status = L"HTTP status " + std::to_wstring(outcome.status);
    if (outcome.status >= kFirstErrorStatus) {
        field("meaning", L"the server answered with an error status");
        return fail(what, {},
                    L": the server answered with " + status +
                        (outcome.stage == 0 ? L"; the file is its error page" : L" (" + stage + L")"));
    }
    const auto* row = std::ranges::find(kStageTexts, outcome.stage, &StageText::stage);
    const bool isKnown = row != std::end(kStageTexts);
    Cause cause = outcome.error != 0 ? windowsError(outcome.error) : Cause();
    if (cause.advice.empty() && isKnown)
        cause.advice = row->advice;
    const std::wstring meaning = isKnown ? row->text : L"the download failed";
    field("meaning", meaning);
    return fail(what, cause, L": " + meaning + L" (" + stage + L", " + status + L")");
}

int run(const Library& library, const Parameters& parameters) {
    Options options;
    if (const std::wstring problem = read(parameters, options); !problem.empty())
        return wrongUsage(kDownloadCommand, problem);

    const PolledInterrupt interrupt;
    const auto error =
        library.startDownloadFile(options.proxyHost.c_str(), options.proxyPort, options.proxyUser.c_str(),
                                  options.proxyPassword.c_str(), options.url.c_str(), options.folder.c_str());
    const std::wstring path = outputPath(options), what = L"Cannot download " + options.url;
    field("file", path);
    const End end = error != 0 ? End::kReached : follow(library, options, interrupt);
    int code = kFailed;
    if (end == End::kReached)
        code = report(what, Outcome(library));
    else
        fail(what + (end == End::kTimedOut
                         ? L": not finished after " + std::to_wstring(options.timeout) + L" s"
                         : std::wstring(L": interrupted")),
             {.advice = L"a part of the file may be in " + path});
    library.stopDownloadFile();
    return end == End::kInterrupted ? int{kInterrupted} : code;
}

} // namespace

const Command kDownloadCommand{
    L"download",
    L"download URL [--folder FOLDER] [--timeout SECONDS] [--proxy HOST:PORT]\n"
    L"         [--proxy-user USER --proxy-password PASSWORD]\n"
    L"    Downloads a file and shows its progress; Ctrl+C and the time-out stop it. The file is written to "
    L"the\n"
    L"    folder, by default the suite's settings folder, under the name after the last \"/\" of the URL. A "
    L"port\n"
    L"    in the URL is ignored.",
    kOptions,
    run,
};

} // namespace host
