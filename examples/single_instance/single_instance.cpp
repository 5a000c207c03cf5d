// An application of which one instance runs at a time. The first start opens a window, which shows how often
// it was asked to come to the front. Each later start asks the first instance to do so and exits with code 1,
// or with code 4 if the first instance does not answer.
//
//     single_instance [URL [PROXY_HOST PROXY_PORT]]
//
// With a URL, the window also downloads the file to the suite's settings folder and shows the progress.

#include "ipc/channel.h"
#include "ipc/channel_names.h"
#include "ipc/window_request_handler.h"
#include "zelsyshelper.h"

#include <atomic>
#include <optional>
#include <string>

#include <commctrl.h>

namespace {

constexpr char kApplication[] = "SingleInstanceExample";
constexpr wchar_t kTitle[] = L"Single instance example";
constexpr UINT kShowMessage = WM_APP;
constexpr ULONGLONG kLongestSearch = 10'000; // milliseconds
constexpr UINT_PTR kDownloadTimer = 1;
constexpr UINT kPollInterval = 200; // milliseconds

int shown = 0;
HWND bar = nullptr;
std::wstring fileName, downloadText;

void showDownload(HWND window, const std::wstring& text) {
    downloadText = text;
    InvalidateRect(window, nullptr, TRUE);
}

void startDownload(HWND window, int count, wchar_t** arguments) {
    const std::wstring url = arguments[1];
    const bool hasProxy = count > 3;
    fileName = url.substr(url.find_last_of(L'/') + 1);
    const auto error =
        startDownloadFile(hasProxy ? arguments[2] : L"",
                          hasProxy ? std::wcstoul(arguments[3], nullptr, 10) : 0, L"", L"", url.c_str(), L"");
    if (error != 0)
        return showDownload(window, L"The download cannot be started: error " + std::to_wstring(error));
    bar = CreateWindowExW(0, PROGRESS_CLASSW, nullptr, WS_CHILD | WS_VISIBLE | PBS_SMOOTH, 20, 50, 420, 22,
                          window, nullptr, nullptr, nullptr);
    SetTimer(window, kDownloadTimer, kPollInterval, nullptr);
}

void pollDownload(HWND window) {
    // Query the flag first: a download that completes between two calls would end with an old percentage.
    std::uint8_t isCompleted = 0;
    isDownloadFileCompleted(&isCompleted);
    std::uint32_t percent = 0, seconds = 0, error = 0, stage = 0, status = 0;
    getDownloadFileProgress(&percent);
    getDownloadElapsedTimeInSeconds(&seconds);
    getDownloadFileErrors(&error, &stage, &status);
    SendMessageW(bar, PBM_SETPOS, percent, 0);
    if (isCompleted == 0)
        return showDownload(window, fileName + L": " + std::to_wstring(percent) + L" % after " +
                                        std::to_wstring(seconds) + L" s");
    KillTimer(window, kDownloadTimer);
    stopDownloadFile(); // returns at once after the end of a download
    if (stage == 0 && status == 200)
        return showDownload(window, fileName + L": complete");
    SendMessageW(bar, PBM_SETSTATE, PBST_ERROR, 0);
    showDownload(window, fileName + L": failed with error " + std::to_wstring(error) + L", stage " +
                             std::to_wstring(stage) + L", HTTP status " + std::to_wstring(status));
}

void paint(HWND window) {
    PAINTSTRUCT paint;
    const HDC context = BeginPaint(window, &paint);
    SelectObject(context, GetStockObject(DEFAULT_GUI_FONT));
    SetBkMode(context, TRANSPARENT);
    TextOutW(context, 20, 26, downloadText.c_str(), static_cast<int>(downloadText.size()));
    const std::wstring text = L"Asked to come to the front: " + std::to_wstring(shown) + L" times";
    TextOutW(context, 20, 86, text.c_str(), static_cast<int>(text.size()));
    EndPaint(window, &paint);
}

LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wide, LPARAM longer) {
    switch (message) {
    case kShowMessage:
        ++shown;
        if (IsIconic(window)) // SW_RESTORE would also undo a maximised window
            ShowWindow(window, SW_RESTORE);
        InvalidateRect(window, nullptr, TRUE);
        return 0;
    case WM_TIMER:
        pollDownload(window);
        return 0;
    case WM_PAINT:
        paint(window);
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcW(window, message, wide, longer);
    }
}

HWND openWindow(HINSTANCE instance) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = onMessage;
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursor(nullptr, IDC_ARROW);
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    windowClass.lpszClassName = L"SingleInstanceExample";
    RegisterClassExW(&windowClass);
    return CreateWindowExW(0, windowClass.lpszClassName, kTitle,
                           WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN | WS_VISIBLE, 100, 100, 480, 160, nullptr,
                           nullptr, instance, nullptr);
}

} // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, wchar_t*, int) {
    std::optional<ipc::CInterprocessCommunicationWin> channel;
    const ULONGLONG end = GetTickCount64() + kLongestSearch;
    do {
        if (bringRuningAppToTop(kApplication) != 0)
            return 1;
        if (GetTickCount64() > end)
            return 4; // the running instance hangs, or is another user's and not accessible
        // Of two simultaneous starts, one gets the mutex; the other retries until the pipe is served.
        channel.emplace(ipc::instanceMutexName(kApplication), ipc::pipeBaseName(kApplication));
        if (!channel->isFirstInstance()) {
            channel.reset();
            Sleep(100 + GetCurrentProcessId() % 100);
        }
    } while (!channel);

    std::atomic<HWND> window = openWindow(instance);
    if (window == nullptr)
        return 2; // no desktop to show it on
    // The handler runs on the channel's thread, so it only posts; the window acts on its own thread.
    ipc::CWindowRequestHandler handler([&] { return window.load(); },
                                       [&] { PostMessageW(window, kShowMessage, 0, 0); });
    channel->setRequestHandler(&handler);
    // Another process may own the pipe's name. Later starts then cannot raise this window. Everything else
    // works.
    if (const std::uint32_t error = channel->startServer())
        SetWindowTextW(window,
                       (kTitle + (L" (not reachable: error " + std::to_wstring(error) + L")")).c_str());

    if (__argc > 1)
        startDownload(window, __argc, __wargv);

    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    channel->stop(); // before the handler is destroyed
    return 0;
}
