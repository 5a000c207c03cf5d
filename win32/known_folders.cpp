#include "win32/known_folders.h"

#include "win32/function.h"
#include "win32/owner.h"
#include "win32/path.h"
#include "win32/system_library.h"

#include <memory>

#include <shlobj.h>

namespace win32 {
namespace {

using GetKnownFolderPath = HRESULT(WINAPI*)(const KNOWNFOLDERID&, DWORD, HANDLE, PWSTR*);
using TaskMemFree = void(WINAPI*)(void*);

/// Loads a DLL and finds one of its functions. The destructor frees the DLL.
template <class Function>
class LoadedFunction {
public:
    LoadedFunction(const std::wstring& dll, const char* name, const ProblemReport& report)
        : library_(loadSystemLibrary(dll.c_str())) {
        if (!library_) {
            reportError(report,
                        std::string("Couldn't load dll") + std::string(dll.begin(), dll.end()) + " | err =");
            return;
        }
        function_ = findFunction<Function>(library_.get(), name);
        if (function_ == nullptr)
            reportError(report, "GetProcAddress return null | err =");
    }

    Function get() const { return function_; }

private:
    static void reportError(const ProblemReport& report, const std::string& problem) {
        const DWORD error = GetLastError();
        if (report)
            report(problem + std::to_string(error));
    }

    Library library_;
    Function function_ = nullptr;
};

} // namespace

std::wstring knownFolder(KnownFolder folder, const ProblemReport& report) {
    // Keeps both DLLs loaded: loading them again in every call would cost milliseconds.
    [[maybe_unused]] static const HMODULE kept[] = {
        loadSystemLibrary(L"shell32.dll"),
        loadSystemLibrary(L"ole32.dll"),
    };
    const LoadedFunction<GetKnownFolderPath> getPath(L"shell32.dll", "SHGetKnownFolderPath", report);
    if (getPath.get() == nullptr)
        return {};
    const auto& id = folder == KnownFolder::roamingAppData ? FOLDERID_RoamingAppData : FOLDERID_LocalAppData;
    PWSTR found = nullptr;
    if (FAILED(getPath.get()(id, 0, nullptr, &found)) || found == nullptr)
        return {};

    const LoadedFunction<TaskMemFree> taskMemFree(L"ole32.dll", "CoTaskMemFree", report);
    const auto release = [&](wchar_t* text) {
        if (taskMemFree.get() != nullptr)
            taskMemFree.get()(text);
    };
    const std::unique_ptr<wchar_t, decltype(release)> owned(found, release);
    return owned.get();
}

std::wstring settingsFolder(const ProblemReport& report) {
    const std::wstring roaming = knownFolder(KnownFolder::roamingAppData, report);
    if (roaming.empty())
        return {};
    std::wstring folder = joinPath(roaming, kBrandFolder);
    CreateDirectoryW(folder.c_str(), nullptr); // usually fails with ERROR_ALREADY_EXISTS
    return folder;
}

std::wstring logsFolder(const ProblemReport& report) {
    const std::wstring roaming = knownFolder(KnownFolder::roamingAppData, report);
    return roaming.empty() ? roaming : joinPath(roaming, L"logs");
}

} // namespace win32
