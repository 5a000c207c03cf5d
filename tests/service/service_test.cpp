#include "service/service_control.h"

#include "support/files.h"
#include "support/seam.h"
#include "win32/service_handle.h"

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
    DWORD state, checkPoint, waitHint;
};

/// A service manager that answers as the test says, and time that passes only by sleeping.
class FakeManager : public testing::Test {
protected:
    FakeManager() {
        OpenSCManagerWSeam::fake = [this](auto, auto, DWORD access) { return open(L"m", access); };
        OpenServiceWSeam::fake = [this](auto, auto, DWORD access) { return open(L"s", access); };
        CreateServiceWSeam::fake = [](auto...) { return SC_HANDLE(); };
        ChangeServiceConfig2WSeam::fake = [](auto, DWORD level, void* text) {
            EXPECT_EQ(level, 1u);
            EXPECT_STREQ(static_cast<SERVICE_DESCRIPTIONW*>(text)->lpDescription, L"Corvane Update Service");
            return FALSE; // of no consequence
        };
        DeleteServiceSeam::fake = [](auto...) { return TRUE; };
        StartServiceWSeam::fake = [](auto...) { return TRUE; };
        CloseServiceHandleSeam::fake = [this](auto) { return --openHandles, TRUE; };
        ControlServiceSeam::fake = [this](SC_HANDLE, DWORD, SERVICE_STATUS* status) {
            status->dwCurrentState = controlled.state;
            SetLastError(controlled.checkPoint);
            return controlled.checkPoint == 0;
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
        return fails ? nullptr : reinterpret_cast<SC_HANDLE>(1);
    }

    /// The last one is repeated for ever; a state of 0 lets the query fail.
    Status nextStatus() {
        const Status next = statuses.at(std::min(queried, statuses.size() - 1));
        ++queried;
        return next;
    }

    /// The result, how long it took, and how many handles are left open.
    template <class Work>
    std::string run(Work work, std::vector<Status> answers = {{SERVICE_STOPPED, 0, 0}}, int failing = 0) {
        statuses = std::move(answers);
        queried = 0, opens = 0, openHandles = 0, now = 1000, opened.clear(), failingOpen = failing;
        const auto result = work();
        return std::to_string(result) + " " + std::to_string(now - 1000) + " " + std::to_string(openHandles);
    }

    Status controlled{SERVICE_STOP_PENDING, 0,
                      0}; ///< Its checkPoint is the error of the refusal, 0 for none.
    std::vector<Status> statuses;
    std::size_t queried = 0;
    int opens = 0, failingOpen = 0, openHandles = 0;
    DWORD now = 0;
    std::wstring opened;
};

std::int32_t stopByName() {
    return service::stop(L"any");
}

TEST_F(FakeManager, RightsAndWhatCannotBeOpened) {
    EXPECT_EQ(run(service::update), "0 0 0");
    EXPECT_EQ(opened, L"mf003f s3 ");
    EXPECT_EQ(run(service::update, {{}}, 1), "-1 0 0");
    EXPECT_EQ(run(service::update, {{}}, 2), "-2 0 0");
    EXPECT_EQ(run(stopByName), "0 1000 2") << "two handles are left open on purpose";
    EXPECT_EQ(opened, L"m5 s1 mf003f s10024 ");
    EXPECT_EQ(run(stopByName, {{}}, 2), "0 0 0") << "absent";
    EXPECT_EQ(opened, L"m5 s1 ");
    EXPECT_EQ(run(stopByName, {{}}, 3), "-1 0 0");
    EXPECT_EQ(run(stopByName, {{}}, 4), "-2 0 0");
    EXPECT_EQ(run(service::uninstall), "0 1000 0");
    EXPECT_EQ(opened, L"m5 s1 mf003f s10024 ");
    EXPECT_EQ(run(service::uninstall, {{}}, 3), "-1 0 0");
    EXPECT_EQ(run(service::uninstall, {{}}, 4), "-2 0 0");
    EXPECT_EQ(run(service::start), "0 0 0");
    EXPECT_EQ(opened, L"mf003f sf01ff ");
    EXPECT_EQ(run(service::start, {{}}, 1), "-1 0 0");
    EXPECT_EQ(run(service::start, {{}}, 2), "-2 0 0");
    EXPECT_EQ(run([] { return service::install(L"p"); }, {{}}, 3), "-3 0 0");
    EXPECT_EQ(opened, L"m5 s1 m3 ");
}

TEST_F(FakeManager, Stop) {
    constexpr Status kPending{SERVICE_STOP_PENDING, 0, 0}, kStopped{SERVICE_STOPPED, 0, 0}, kFailing{0, 0, 0};
    EXPECT_EQ(run(stopByName, {kPending, kPending, kStopped}), "0 3000 2");
    EXPECT_EQ(run(stopByName, {kPending}), "0 16000 2") << "given up";
    EXPECT_EQ(run(stopByName, {kPending, kFailing}), "-3 2000 2");
    EXPECT_EQ(run(service::uninstall, {kFailing}), "0 1000 0") << "deletes all the same";
    controlled = {SERVICE_STOP_PENDING, ERROR_SERVICE_CANNOT_ACCEPT_CTRL, 0};
    EXPECT_EQ(run(stopByName), "0 1000 2");
    for (const Status refusal : {Status{SERVICE_START_PENDING, ERROR_SERVICE_CANNOT_ACCEPT_CTRL, 0},
                                 Status{SERVICE_STOPPED, ERROR_SERVICE_NOT_ACTIVE, 0}}) {
        controlled = refusal;
        EXPECT_EQ(run(stopByName), "-4 0 2");
    }
    EXPECT_EQ(run(service::uninstall), "0 0 0");
    DeleteServiceSeam::failWith(ERROR_ACCESS_DENIED);
    EXPECT_EQ(run(service::uninstall), "-3 0 0");
}

TEST_F(FakeManager, Start) {
    const auto start = [this](std::vector<Status> answers) {
        return run(service::start, std::move(answers));
    };
    constexpr Status kStopped{SERVICE_STOPPED, 0, 0}, kRunning{SERVICE_RUNNING, 0, 0}, kFailing{0, 0, 0};
    const auto stopping = [](DWORD checkPoint, DWORD hint) {
        return Status{SERVICE_STOP_PENDING, checkPoint, hint};
    };
    const auto starting = [](DWORD checkPoint, DWORD hint) {
        return Status{SERVICE_START_PENDING, checkPoint, hint};
    };

    EXPECT_EQ(start({kFailing}), "-3 0 0");
    for (const DWORD state : {SERVICE_RUNNING, SERVICE_START_PENDING, SERVICE_PAUSED})
        EXPECT_EQ(start({{state, 0, 0}}), "0 0 0");
    EXPECT_EQ(StartServiceWSeam::calls, 0);
    EXPECT_EQ(start({kStopped, kFailing}), "-8 0 0");
    EXPECT_EQ(StartServiceWSeam::calls, 1);
    EXPECT_EQ(start({stopping(1, 500'000), kFailing}), "-5 10000 0")
        << "never longer than ten seconds a pass";
    EXPECT_EQ(start({stopping(1, 0)}), "-6 1000 0");
    EXPECT_EQ(start({stopping(1, 900), stopping(2, 900), stopping(2, 900)}), "-6 2000 0");
    EXPECT_EQ(start({stopping(1, 30'000), stopping(1, 30'000), kStopped, kRunning}), "0 6000 0")
        << "each pass has a baseline of its own";
    EXPECT_EQ(start({stopping(1, 0), kStopped, kRunning}), "0 1000 0") << "it has stopped, however slowly";
    EXPECT_EQ(start({kStopped, starting(1, 2500), starting(1, 2500), starting(1, 2500), starting(2, 2500),
                     kRunning}),
              "0 4000 0");
    EXPECT_EQ(start({kStopped, starting(1, 2500)}), "0 3000 0") << "does not get on";
    EXPECT_EQ(start({kStopped, starting(1, 50'000), kFailing}), "0 5000 0");
    StartServiceWSeam::failWith(ERROR_SERVICE_ALREADY_RUNNING);
    EXPECT_EQ(start({kStopped}), "1056 0 0");
}

TEST_F(FakeManager, InstallTriesAgainForThreeErrorsOnly) {
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

/// The system's own service manager and the example service; only sleeping is cut short.
class RealManager : public testing::Test {
protected:
    RealManager() {
        SleepSeam::fake = [](DWORD time) { SleepSeam::real(time / 15); };
        wchar_t path[MAX_PATH + 32];
        GetModuleFileNameW(nullptr, path, MAX_PATH);
        wcscpy(wcsrchr(path, L'\\'), L"\\update_service.exe");
        CopyFileW(path, program.c_str(), FALSE);
        service::serviceName = service::serviceDisplayName = name.c_str();
    }
    ~RealManager() override {
        end(); // a service that refuses to stop would still be there in the next run
        service::uninstall();
        testing_support::restoreSeams();
    }

    static SERVICE_STATUS_PROCESS status() {
        const win32::ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
        const win32::ServiceHandle opened(
            OpenServiceW(manager.get(), service::serviceName, SERVICE_QUERY_STATUS));
        SERVICE_STATUS_PROCESS now{};
        DWORD needed = 0;
        QueryServiceStatusEx(opened.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&now), sizeof now,
                             &needed);
        return now;
    }

    static void end() {
        const win32::KernelHandle process(
            OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, status().dwProcessId));
        TerminateProcess(process.get(), 0);
        WaitForSingleObject(process.get(), 10'000);
    }

    const std::wstring name =
        L"Zelsys.Test.Service." + std::to_wstring(GetCurrentProcessId() * 10 + ++services);
    static inline int services = 0;
    const testing_support::TemporaryFolder folder;
    const std::wstring program = folder / L"service.exe";
    const std::wstring mode = program + L".mode";
};

TEST_F(RealManager, LifeOfTheService) {
    EXPECT_EQ(service::start(), -2);
    EXPECT_EQ(service::stop(service::serviceName), 0);
    ASSERT_EQ(service::install(program), 0);
    EXPECT_TRUE(service::isPresent(service::serviceName));
    EXPECT_EQ(service::install(program), 1073);
    EXPECT_EQ(service::update(), 0);
    EXPECT_EQ(service::stop(service::serviceName), -4) << "it does not run";
    testing_support::writeBytes(mode, "slow");
    EXPECT_EQ(service::start(), 0);
    for (int i = 0; i < 100 && status().dwCurrentState != SERVICE_RUNNING; ++i)
        SleepSeam::real(20);
    EXPECT_EQ(service::start(), 0) << "it runs already";
    EXPECT_EQ(service::stop(service::serviceName), 0);
    EXPECT_EQ(status().dwCurrentState, DWORD{SERVICE_STOPPED});
    testing_support::writeBytes(mode, "refuse");
    EXPECT_EQ(service::start(), 0);
    EXPECT_EQ(service::stop(service::serviceName), -4);
}

TEST_F(RealManager, StopThatNeverEnds) {
    testing_support::writeBytes(mode, "stuck");
    ASSERT_EQ(service::install(program), 0);
    EXPECT_EQ(service::start(), 0);
    for (int i = 0; i < 100 && status().dwCurrentState != SERVICE_RUNNING; ++i)
        SleepSeam::real(20);
    EXPECT_EQ(service::stop(service::serviceName), 0) << "given up";
    EXPECT_EQ(service::stop(service::serviceName), 0) << "refused, but a stop is under way";
    EXPECT_EQ(service::start(), -6);
}

} // namespace
