#include "service/service_control.h"

#include "support/seam.h"

#include <vector>

#include <gtest/gtest.h>

ZELSYS_SEAM(L"advapi32.dll", OpenSCManagerW)
ZELSYS_SEAM(L"advapi32.dll", OpenServiceW)
ZELSYS_SEAM(L"advapi32.dll", CreateServiceW)
ZELSYS_SEAM(L"advapi32.dll", ChangeServiceConfig2W)
ZELSYS_SEAM(L"advapi32.dll", DeleteService)
ZELSYS_SEAM(L"advapi32.dll", StartServiceW)
ZELSYS_SEAM(L"advapi32.dll", ControlService)
ZELSYS_SEAM(L"advapi32.dll", QueryServiceStatus)
ZELSYS_SEAM(L"advapi32.dll", QueryServiceStatusEx)
ZELSYS_SEAM(L"advapi32.dll", CloseServiceHandle)
ZELSYS_SEAM(L"kernel32.dll", Sleep)
ZELSYS_SEAM(L"kernel32.dll", GetTickCount)

namespace {

struct Status {
    DWORD state, checkPoint = 0, waitHint = 0;
};

/// Replaces the service manager, and a clock that advances only by Sleep.
class FakeManager : public testing::Test {
protected:
    FakeManager() {
        OpenSCManagerWSeam::fake = [this](auto, auto, DWORD access) { return open(L"m", access); };
        OpenServiceWSeam::fake = [this](auto, auto, DWORD access) { return open(L"s", access); };
        CreateServiceWSeam::fake = [this](auto...) { return open(L"c", 0); };
        ChangeServiceConfig2WSeam::fake = [](auto, DWORD level, void* text) {
            EXPECT_EQ(level, 1u);
            EXPECT_STREQ(static_cast<SERVICE_DESCRIPTIONW*>(text)->lpDescription, L"Corvane Update Service");
            return FALSE; // must not matter
        };
        DeleteServiceSeam::fake = [](auto...) { return TRUE; };
        StartServiceWSeam::fake = [](auto...) { return TRUE; };
        CloseServiceHandleSeam::fake = [this](auto) { return --openHandles, TRUE; };
        ControlServiceSeam::fake = [this](SC_HANDLE, DWORD, SERVICE_STATUS* status) {
            status->dwCurrentState = refusedIn;
            SetLastError(refusal);
            return refusal == 0;
        };
        QueryServiceStatusSeam::fake = [this](SC_HANDLE, SERVICE_STATUS* status) {
            const Status next = nextStatus();
            status->dwCurrentState = next.state;
            return next.state != 0;
        };
        QueryServiceStatusExSeam::fake = [this](SC_HANDLE, auto, BYTE* out, DWORD size, auto) {
            const Status next = nextStatus();
            auto& status = *reinterpret_cast<SERVICE_STATUS_PROCESS*>(out);
            status.dwCurrentState = next.state;
            status.dwCheckPoint = next.checkPoint;
            status.dwWaitHint = next.waitHint;
            return size == 36 && next.state != 0;
        };
        SleepSeam::fake = [this](DWORD time) { now += time; };
        GetTickCountSeam::fake = [this] { return now; };
    }

    ~FakeManager() override { testing_support::restoreSeams(); }

    SC_HANDLE open(const std::wstring& what, DWORD access) {
        wchar_t text[16];
        swprintf(text, 16, L"%lx ", access);
        opened += what + text;
        const bool fails = ++opens == failingOpen;
        openHandles += !fails;
        SetLastError(fails ? ERROR_ACCESS_DENIED : ERROR_SUCCESS);
        return fails ? nullptr : reinterpret_cast<SC_HANDLE>(1);
    }

    /// Returns the next status, and repeats the last one. With the state 0 the query fails.
    Status nextStatus() { return statuses.at(std::min(queried++, statuses.size() - 1)); }

    /// Returns "result milliseconds handles": the time that passed, and the handles that are left open.
    template <class Work>
    std::string run(Work work, std::vector<Status> answers = {{SERVICE_STOPPED}}, int failing = 0) {
        statuses = std::move(answers);
        queried = 0, opens = 0, openHandles = 0, now = 1000, opened.clear(), failingOpen = failing;
        const auto result = work();
        return std::to_string(result) + " " + std::to_string(now - 1000) + " " + std::to_string(openHandles);
    }

    DWORD refusal = 0, refusedIn = SERVICE_STOP_PENDING; ///< Error and state from ControlService.
    std::vector<Status> statuses;
    std::size_t queried = 0;
    int opens = 0, failingOpen = 0, openHandles = 0;
    DWORD now = 0;
    std::wstring opened;
};

constexpr Status kStopped{SERVICE_STOPPED}, kRunning{SERVICE_RUNNING}, kFailing{0};
constexpr DWORD kStopping = SERVICE_STOP_PENDING, kStarting = SERVICE_START_PENDING;

std::int32_t stopByName() {
    return service::stop(L"any");
}

TEST_F(FakeManager, AccessRightsAndFailedOpens) {
    const struct {
        std::int32_t (*work)();
        std::wstring opened;
        std::string results; ///< With no failure, then with the first open failing, the second...
    } cases[] = {
        {service::update, L"mf003f s3 ", "0 0 0, -1 0 0, -2 0 0"},
        {service::start, L"mf003f sf01ff ", "0 0 0, -1 0 0, -2 0 0"},
        // A missing service counts as stopped.
        {stopByName, L"m5 s1 mf003f s10024 ", "0 1000 0, 0 0 0, 0 0 0, -1 0 0, -2 0 0"},
        {service::uninstall, L"m5 s1 mf003f s10024 ", "0 1000 0, 0 1000 0, 0 1000 0, -1 0 0, -2 0 0"},
        {[] { return service::install(L"p"); }, L"m5 s1 m3 c0 ", "0 0 0, 0 0 0, 0 0 0, -3 0 0, 5 0 0"},
    };
    for (const auto& c : cases) {
        std::string results = run(c.work);
        EXPECT_EQ(opened, c.opened);
        for (int failing = 1, all = opens; failing <= all; ++failing)
            results += ", " + run(c.work, {kStopped}, failing);
        EXPECT_EQ(results, c.results);
    }
}

TEST_F(FakeManager, Stop) {
    EXPECT_EQ(run(stopByName, {{kStopping}, {kStopping}, kStopped}), "0 3000 0");
    EXPECT_EQ(run(stopByName, {{kStopping}}), "0 16000 0") << "gives up";
    EXPECT_EQ(run(stopByName, {{kStopping}, kFailing}), "-3 2000 0");
    EXPECT_EQ(run(service::uninstall, {kFailing}), "0 1000 0") << "deletes the service anyway";
    refusal = ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
    EXPECT_EQ(run(stopByName), "0 1000 0") << "the service is already stopping";
    refusedIn = SERVICE_START_PENDING;
    EXPECT_EQ(run(stopByName), "-4 0 0");
    refusal = ERROR_SERVICE_NOT_ACTIVE, refusedIn = SERVICE_STOP_PENDING;
    EXPECT_EQ(run(stopByName), "-4 0 0");
    EXPECT_EQ(run(service::uninstall), "0 0 0");
    DeleteServiceSeam::failWith(ERROR_ACCESS_DENIED);
    EXPECT_EQ(run(service::uninstall), "-3 0 0");
}

TEST_F(FakeManager, Start) {
    for (const DWORD state : {DWORD{SERVICE_RUNNING}, DWORD{SERVICE_START_PENDING}, DWORD{SERVICE_PAUSED}})
        EXPECT_EQ(run(service::start, {{state}}), "0 0 0");
    EXPECT_EQ(StartServiceWSeam::calls, 0);
    constexpr Status kStep1{kStarting, 1, 2500}, kStep2{kStarting, 2, 2500};
    const struct {
        std::vector<Status> answers;
        const char* result;
    } cases[] = {
        {{kFailing}, "-3 0 0"},
        {{kStopped, kFailing}, "-8 0 0"},
        {{{kStopping, 1, 500'000}, kFailing}, "-5 10000 0"}, // at most ten seconds per query
        {{{kStopping, 1, 0}}, "-6 1000 0"},
        {{{kStopping, 1, 900}, {kStopping, 2, 900}, {kStopping, 2, 900}}, "-6 2000 0"},
        // Each pass measures progress from its own start.
        {{{kStopping, 1, 30'000}, {kStopping, 1, 30'000}, kStopped, kRunning}, "0 6000 0"},
        {{{kStopping, 1, 0}, kStopped, kRunning}, "0 1000 0"}, // stopped in time, despite a wait hint of 0
        {{kStopped, kStep1, kStep1, kStep1, kStep2, kStep2, kRunning}, "0 5000 0"},
        {{kStopped, kStep1}, "0 3000 0"}, // the check point does not advance
        {{kStopped, {kStarting, 1, 50'000}, kFailing}, "0 5000 0"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(run(service::start, c.answers), c.result);
    StartServiceWSeam::failWith(ERROR_SERVICE_ALREADY_RUNNING);
    EXPECT_EQ(run(service::start), "1056 0 0");
}

TEST_F(FakeManager, InstallRetriesThreeErrorsOnly) {
    int failures = 0;
    DWORD error = 0;
    CreateServiceWSeam::fake = [&](SC_HANDLE, LPCWSTR name, LPCWSTR display, DWORD access, DWORD type,
                                   DWORD startType, DWORD errorControl, LPCWSTR command, auto, auto,
                                   LPCWSTR dependencies, auto, auto) {
        EXPECT_STREQ(name, L"Corvane.Update.Service");
        EXPECT_STREQ(display, L"Corvane Update Service");
        EXPECT_EQ(std::vector({access, type, startType, errorControl}),
                  (std::vector<DWORD>{0xF01FF, 0x110, 2, 1}));
        EXPECT_EQ(command, L"\"" + std::wstring(2047, L'p') + L"\"");
        EXPECT_EQ(dependencies[0] + dependencies[1], 0);
        SetLastError(error);
        return failures-- > 0 ? nullptr : open(L"c", access);
    };
    const auto install = [&](int failing, DWORD with) {
        failures = failing, error = with;
        return run([] { return service::install(std::wstring(2047, L'p')); });
    };
    for (const DWORD retried : {996ul, 997ul, 1072ul}) {
        EXPECT_EQ(install(14, retried), "0 2100 0");
        EXPECT_EQ(install(15, retried), std::to_string(retried) + " 2100 0");
    }
    EXPECT_EQ(install(1, ERROR_ACCESS_DENIED), "5 0 0");
    EXPECT_EQ(run([] { return service::install(std::wstring(2048, L'p')); }), "-2 0 0");
    EXPECT_EQ(run([] { return service::install(L""); }), "-2 0 0");
}

} // namespace
