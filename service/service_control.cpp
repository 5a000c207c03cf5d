#include "service/service_control.h"

#include "service/opened_service.h"

namespace service {
namespace {

using win32::ServiceHandle;

constexpr std::size_t kPathLimit = 2048;
constexpr int kCreateAttempts = 15;
constexpr DWORD kCreatePause = 150; // milliseconds

void describe(SC_HANDLE service) {
    std::wstring text = serviceDescription;
    SERVICE_DESCRIPTIONW description{text.data()};
    ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &description); // best effort
}

bool isWorthAnotherTry(DWORD error) {
    return error == ERROR_IO_INCOMPLETE || error == ERROR_IO_PENDING ||
           error == ERROR_SERVICE_MARKED_FOR_DELETE;
}

} // namespace

const wchar_t* serviceName = L"Corvane.Update.Service";
const wchar_t* serviceDisplayName = L"Corvane Update Service";
const wchar_t* serviceDescription = L"Corvane Update Service";

bool isPresent(const std::wstring& name) {
    const ServiceHandle manager(
        OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT | SC_MANAGER_ENUMERATE_SERVICE));
    if (!manager)
        return false;
    return static_cast<bool>(ServiceHandle(OpenServiceW(manager.get(), name.c_str(), SERVICE_QUERY_CONFIG)));
}

std::int32_t install(const std::wstring& path) {
    isPresent(serviceName); // result ignored: CreateServiceW reports ERROR_SERVICE_EXISTS
    if (path.empty() || path.size() >= kPathLimit)
        return kBadPath;
    const std::wstring command = L"\"" + path + L"\"";
    const ServiceHandle manager(
        OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE));
    if (!manager)
        return kNoManagerToCreate;

    DWORD error = 0;
    for (int attempt = 0; attempt < kCreateAttempts; ++attempt) {
        const ServiceHandle created(
            CreateServiceW(manager.get(), serviceName, serviceDisplayName, SERVICE_ALL_ACCESS,
                           SERVICE_WIN32_OWN_PROCESS | SERVICE_INTERACTIVE_PROCESS, SERVICE_AUTO_START,
                           SERVICE_ERROR_NORMAL, command.c_str(), nullptr, nullptr, L"\0", nullptr, nullptr));
        if (created) {
            describe(created.get());
            return 0;
        }
        error = GetLastError();
        if (!isWorthAnotherTry(error))
            break;
        if (attempt + 1 < kCreateAttempts)
            Sleep(kCreatePause);
    }
    return static_cast<std::int32_t>(error);
}

std::int32_t update() {
    ServiceHandle service;
    if (const std::int32_t code =
            openService(serviceName, SERVICE_QUERY_CONFIG | SERVICE_CHANGE_CONFIG, service))
        return code;
    describe(service.get());
    return 0;
}

std::int32_t uninstall() {
    isPresent(serviceName); // result ignored: OpenServiceW fails for a missing service
    ServiceHandle service;
    if (const std::int32_t code = openService(serviceName, kStopAccess, service))
        return code;
    stopOpened(service);
    return DeleteService(service.get()) ? 0 : kDeleteFailed;
}

} // namespace service
