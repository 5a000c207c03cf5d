// An application of which one instance runs at a time. The first start opens a window, which shows how often
// it was asked to come to the front. Each later start asks the first instance and exits with code 1, or with
// code 4 if the first instance does not answer.

#include "ipc/channel.h"
#include "ipc/channel_names.h"
#include "ipc/window_request_handler.h"
#include "zelsyshelper.h"

#include <atomic>
#include <optional>
#include <string>

namespace {

constexpr char kApplication[] = "SingleInstanceExample";
constexpr wchar_t kTitle[] = L"Single instance example";
constexpr UINT kShowMessage = WM_APP;
constexpr ULONGLONG kLongestSearch = 10'000; // milliseconds

int shown = 0;

LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wide, LPARAM longer) {
    switch (message) {
    case kShowMessage:
        ++shown;
        if (IsIconic(window)) // SW_RESTORE would also undo a maximised window
            ShowWindow(window, SW_RESTORE);
        InvalidateRect(window, nullptr, TRUE);
        return 0;
    case WM_PAINT: {
        PAINTSTRUCT paint;
        const HDC context = BeginPaint(window, &paint);
        const std::wstring text = L"Asked to come to the front: " + std::to_wstring(shown) + L" times";
        TextOutW(context, 20, 20, text.c_str(), static_cast<int>(text.size()));
        EndPaint(window, &paint);
        return 0;
    }
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
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
    windowClass.lpszClassName = L"SingleInstanceExample";
    RegisterClassExW(&windowClass);
    return CreateWindowExW(0, windowClass.lpszClassName, kTitle, WS_OVERLAPPEDWINDOW | WS_VISIBLE, 100, 100,
                           480, 160, nullptr, nullptr, instance, nullptr);
}

} // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, wchar_t*, int) {
    std::optional<ipc::CInterprocessCommunicationWin> channel;
    const ULONGLONG end = GetTickCount64() + kLongestSearch;
    do {
        if (bringRuningAppToTop(kApplication) != 0)
            return 1;
        if (GetTickCount64() > end)
            return 4; // hung, or in a session whose user cannot reach this one
        // Of two starts at the same moment one holds the mutex; the other finds it serving a little later.
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
    // Another process may own the pipe's name. Later starts then cannot raise this window, which is no reason
    // not to run.
    if (const std::uint32_t error = channel->startServer())
        SetWindowTextW(window,
                       (kTitle + (L" (not reachable: error " + std::to_wstring(error) + L")")).c_str());

    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    channel->stop(); // while the handler is still there
    return 0;
}
