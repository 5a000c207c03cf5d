/*
 * A stand-in for the suite's update service. It only starts and stops.
 *
 * If the file "update_service.exe.mode" is beside it, the first line selects a behaviour to test against:
 *   slow     takes three steps of half a second to start
 *   stuck    stays in SERVICE_STOP_PENDING after a stop
 *   refuse   does not accept a stop
 */
#include <stdio.h>
#include <string.h>
#include <wchar.h>

#include <windows.h>

static SERVICE_STATUS_HANDLE statusHandle;
static HANDLE stopEvent;
static char mode[16];

static void report(DWORD state, DWORD checkPoint)
{
    SERVICE_STATUS status = {0};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = state;
    status.dwControlsAccepted =
        state == SERVICE_RUNNING && strcmp(mode, "refuse") != 0 ? SERVICE_ACCEPT_STOP : 0;
    status.dwCheckPoint = checkPoint;
    status.dwWaitHint = strcmp(mode, "stuck") == 0 ? 50 : 2000;
    SetServiceStatus(statusHandle, &status);
}

static DWORD WINAPI onControl(DWORD control, DWORD type, void *data, void *context)
{
    (void)type, (void)data, (void)context;
    if (control == SERVICE_CONTROL_STOP) {
        report(SERVICE_STOP_PENDING, 1);
        if (strcmp(mode, "stuck") != 0)
            SetEvent(stopEvent);
    }
    return NO_ERROR;
}

static void readMode(void)
{
    wchar_t path[MAX_PATH + 8];
    FILE *file;
    DWORD length = GetModuleFileNameW(NULL, path, MAX_PATH);
    wcscpy(path + length, L".mode");
    file = _wfopen(path, L"r");
    if (file != NULL) {
        if (fgets(mode, sizeof mode, file) != NULL)
            mode[strcspn(mode, "\r\n")] = '\0';
        fclose(file);
    }
}

static void WINAPI serviceMain(DWORD count, wchar_t **arguments)
{
    (void)count;
    readMode();
    stopEvent = CreateEventW(NULL, TRUE, FALSE, NULL);
    statusHandle = RegisterServiceCtrlHandlerExW(arguments[0], onControl, NULL);
    if (strcmp(mode, "slow") == 0) {
        for (DWORD step = 1; step <= 3; ++step) {
            report(SERVICE_START_PENDING, step);
            Sleep(500);
        }
    }
    report(SERVICE_RUNNING, 0);
    WaitForSingleObject(stopEvent, INFINITE);
    report(SERVICE_STOPPED, 0);
}

int wmain(void)
{
    SERVICE_TABLE_ENTRYW table[] = {{L"", serviceMain}, {NULL, NULL}};
    if (!StartServiceCtrlDispatcherW(table)) {
        fputs("This program is a service; the service manager starts it.\n", stderr);
        return 1;
    }
    return 0;
}
