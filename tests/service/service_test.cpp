#include "service/service_control.h"

#include "support/fields.h"
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

enum Kind { kManager, kService, kCreated, kDescribed };

/// A call that opens a handle with these access rights, or ChangeServiceConfig2W with this level.
using Call = std::pair<Kind, DWORD>;

/// The result of a call, the milliseconds that it waited, and the number of handles that it left open.
struct Outcome {
    int result = 0, waited = 0, openHandles = 0;
};
ZELSYS_FIELDS(Outcome, result, waited, openHandles)

/// Replaces the service manager and the clock, which only Sleep advances.
class FakeManager : public testing::Test {
protected:
    FakeManager() {
        OpenSCManagerWSeam::fake = [this](auto, auto, DWORD access) { return open(kManager, access); };
        OpenServiceWSeam::fake = [this](auto, auto, DWORD access) { return open(kService, access); };
        CreateServiceWSeam::fake = [this](auto...) { return open(kCreated); };
        ChangeServiceConfig2WSeam::fake = [this](auto, DWORD level, void* text) {
            made.emplace_back(kDescribed, level);
            EXPECT_STREQ(static_cast<SERVICE_DESCRIPTIONW*>(text)->lpDescription, L"Corvane Update Service");
            return FALSE; // a failure must be ignored
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

    SC_HANDLE open(Kind kind, DWORD access = 0) {
        made.emplace_back(kind, access);
        const bool fails = ++opens == failingOpen;
        openHandles += !fails;
        SetLastError(fails ? ERROR_ACCESS_DENIED : ERROR_SUCCESS);
        return fails ? nullptr : reinterpret_cast<SC_HANDLE>(1);
    }

    /// Returns the next status, or the last one again. The state 0 makes the query fail.
    Status nextStatus() { return statuses.at(std::min(queried++, statuses.size() - 1)); }

    template <class Work>
    Outcome run(Work work, std::vector<Status> answers = {{SERVICE_STOPPED}}, int failing = 0) {
        statuses = std::move(answers);
        queried = 0, opens = 0, openHandles = 0, now = 1000, made.clear(), failingOpen = failing;
        return {work(), static_cast<int>(now - 1000), openHandles};
    }

    DWORD refusal = 0, refusedIn = SERVICE_STOP_PENDING; ///< Error and state from ControlService.
    std::vector<Status> statuses;
    std::size_t queried = 0;
    int opens = 0, failingOpen = 0, openHandles = 0;
    DWORD now = 0;
    std::vector<Call> made;
};

constexpr Status kStopped{SERVICE_STOPPED}, kRunning{SERVICE_RUNNING}, kFailing{0};
constexpr DWORD kStopping = SERVICE_STOP_PENDING, kStarting = SERVICE_START_PENDING;
constexpr Outcome kWait{.waited = 1000};
constexpr auto stopByName = [] { return service::stop(L"any"); };

TEST_F(FakeManager, AccessRightsAndFailedOpens) {
    const struct {
        std::int32_t (*work)();
        std::vector<Call> made;
        std::vector<Outcome> results; ///< Without a failure, then with each open failing in turn.
    } cases[] = {
        {service::update,
         {{kManager, 0xF003F}, {kService, 3}, {kDescribed, 1}},
         {{}, {.result = -1}, {.result = -2}}},
        {service::start, {{kManager, 0xF003F}, {kService, 0xF01FF}}, {{}, {.result = -1}, {.result = -2}}},
        {stopByName, // a missing service counts as stopped
         {{kManager, 5}, {kService, 1}, {kManager, 0xF003F}, {kService, 0x10024}},
         {kWait, {}, {}, {.result = -1}, {.result = -2}}},
        {service::uninstall,
         {{kManager, 5}, {kService, 1}, {kManager, 0xF003F}, {kService, 0x10024}},
         {kWait, kWait, kWait, {.result = -1}, {.result = -2}}},
        {[] { return service::install(L"p"); },
         {{kManager, 5}, {kService, 1}, {kManager, 3}, {kCreated, 0}, {kDescribed, 1}},
         {{}, {}, {}, {.result = -3}, {.result = 5}}},
    };
    for (const auto& c : cases) {
        std::vector results{run(c.work)};
        EXPECT_EQ(made, c.made);
        for (int failing = 1, all = opens; failing <= all; ++failing)
            results.push_back(run(c.work, {kStopped}, failing));
        EXPECT_EQ(results, c.results);
    }
}

TEST_F(FakeManager, Stop) {
    EXPECT_EQ(run(stopByName, {{kStopping}, {kStopping}, kStopped}), Outcome{.waited = 3000});
    EXPECT_EQ(run(stopByName, {{kStopping}}), Outcome{.waited = 16'000}) << "gives up";
    EXPECT_EQ(run(stopByName, {{kStopping}, kFailing}), (Outcome{.result = -3, .waited = 2000}));
    EXPECT_EQ(run(service::uninstall, {kFailing}), Outcome{.waited = 1000}) << "deletes the service anyway";
    refusal = ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
    EXPECT_EQ(run(stopByName), Outcome{.waited = 1000}) << "the service is already stopping";
    refusedIn = SERVICE_START_PENDING;
    EXPECT_EQ(run(stopByName), Outcome{.result = -4});
    refusal = ERROR_SERVICE_NOT_ACTIVE, refusedIn = SERVICE_STOP_PENDING;
    EXPECT_EQ(run(stopByName), Outcome{.result = -4});
    EXPECT_EQ(run(service::uninstall), Outcome{});
    DeleteServiceSeam::failWith(ERROR_ACCESS_DENIED);
    EXPECT_EQ(run(service::uninstall), Outcome{.result = -3});
}

TEST_F(FakeManager, Start) {
    for (const DWORD state : {DWORD{SERVICE_RUNNING}, DWORD{SERVICE_START_PENDING}, DWORD{SERVICE_PAUSED}})
        EXPECT_EQ(run(service::start, {{state}}), Outcome{});
    EXPECT_EQ(StartServiceWSeam::calls, 0);
    constexpr Status kStep1{kStarting, 1, 3000}, kStep2{kStarting, 2, 3000};
    const struct {
        std::vector<Status> answers;
        Outcome outcome;
    } cases[] = {
        {{kFailing}, {.result = -3}},
        {{kStopped, kFailing}, {.result = -8}},
        {{{kStopping, 1, 500'000}, kFailing}, {.result = -5, .waited = 10'000}}, // pauses at most ten seconds
        {{{kStopping, 1, 0}}, {.result = -6, .waited = 1000}},
        {{{kStopping, 1, 900}, {kStopping, 2, 900}, {kStopping, 2, 900}}, {.result = -6, .waited = 2000}},
        // Each pass measures progress from its own start.
        {{{kStopping, 1, 1000}, {kStopping, 1, 1000}, kStopped, kRunning}, {.waited = 2000}},
        {{{kStopping, 1, 0}, kStopped, kRunning}, {.waited = 1000}}, // stops in time despite a wait hint of 0
        {{kStopped, kStep1, kStep1, kStep1, kStep2, kStep2, kRunning}, {.waited = 5000}},
        {{kStopped, kStep1, kStep2}, {.waited = 5000}}, // the check point does not advance again
        {{kStopped, {kStarting, 1, 50'000}, kFailing}, {.waited = 5000}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(run(service::start, c.answers), c.outcome);
    StartServiceWSeam::failWith(ERROR_SERVICE_ALREADY_RUNNING);
    EXPECT_EQ(run(service::start), Outcome{.result = 1056});
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
        return failures-- > 0 ? nullptr : open(kCreated);
    };
    const auto install = [&](int failing, int with) {
        failures = failing, error = static_cast<DWORD>(with);
        return run([] { return service::install(std::wstring(2047, L'p')); });
    };
    for (const int retried : {996, 997, 1072}) {
        EXPECT_EQ(install(14, retried), Outcome{.waited = 2100});
        EXPECT_EQ(install(15, retried), (Outcome{.result = retried, .waited = 2100}));
    }
    EXPECT_EQ(install(1, ERROR_ACCESS_DENIED), Outcome{.result = 5});
    EXPECT_EQ(run([] { return service::install(std::wstring(2048, L'p')); }), Outcome{.result = -2});
    EXPECT_EQ(run([] { return service::install(L""); }), Outcome{.result = -2});
}

} // namespace
