// An application of which one instance runs at a time. The first start opens a window; every later one asks the
// first to come to the front, says so, and exits.
//
// The first line of its window tells how often it was asked.

#include "ipc/channel.h"
#include "ipc/channel_names.h"
#include "ipc/window_request_handler.h"
#include "zelsyshelper.h"

#include <atomic>
#include <string>

namespace {

constexpr char kApplication[] = "SingleInstanceExample";
constexpr wchar_t kTitle[] = L"Single instance example";
constexpr UINT kShowMessage = WM_APP;

int shown = 0;

LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wide, LPARAM longer) {
    switch (message) {
    case kShowMessage:
        ++shown;
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
    if (bringRuningAppToTop(kApplication) != 0)
        return 1; // an instance runs already, and was asked

    std::atomic<HWND> window = nullptr;
    // The handler runs on the channel's thread, so it only posts; the window acts on its own thread.
    ipc::CWindowRequestHandler handler([&] { return window.load(); },
                                       [&] { PostMessageW(window, kShowMessage, 0, 0); });
    ipc::CInterprocessCommunicationWin channel(ipc::instanceMutexName(kApplication),
                                               ipc::pipeBaseName(kApplication));
    window = openWindow(instance);
    if (window == nullptr)
        return 2; // no desktop to show it on
    channel.setRequestHandler(&handler);
    channel.startServer();

    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
