/*
 * An application of which one instance runs at a time, in plain C. Serves the channel by itself, as
 * docs/single-instance.md describes it. The first start prints each request until Enter is pressed. Each
 * later start asks the first instance to come to the front and exits.
 *
 *     single_instance_c NAME
 *
 * Exit codes: 0 after Enter; 1 if the running instance has been raised; 2 for a wrong command line; 3 if a
 * function of Windows fails; 4 if an instance is running and has not answered for ten seconds.
 */
#include "zelsyshelper.h"

#include <process.h>
#include <stdio.h>
#include <string.h>

#include <windows.h>

#define LONGEST_NAME 190
#define LARGEST_MESSAGE 65535
#define HEADER 9
#define LONGEST_SILENCE 5000 /* milliseconds for a client to send its request */
#define REPLY_GRACE 200      /* milliseconds for a client to read the reply */
#define LONGEST_SEARCH 10000 /* milliseconds */

static HANDLE stopEvent;
static HANDLE ioEvent;
static HANDLE pipeHandle;
static unsigned char message[LARGEST_MESSAGE];

/* Builds the name of an object from a prefix and an ASCII name, independently of the locale. */
static void makeName(wchar_t* name, const wchar_t* prefix, const char* application, int upperCase)
{
    while (*prefix != 0)
        *name++ = *prefix++;
    for (; *application != 0; ++application)
        *name++ = (wchar_t)(upperCase && *application >= 'a' && *application <= 'z' ? *application - 'a' + 'A'
                                                                                    : *application);
    *name = 0;
}

/* Waits for the operation that returned `started`, and cancels it after `timeOut` milliseconds or when the
 * program ends. Returns 0 or the operation's error. */
static DWORD finish(BOOL started, OVERLAPPED* operation, DWORD timeOut, DWORD* count)
{
    const HANDLE events[2] = {stopEvent, ioEvent};

    if (!started && GetLastError() != ERROR_IO_PENDING)
        return GetLastError();
    if (WaitForMultipleObjects(2, events, FALSE, timeOut) != WAIT_OBJECT_0 + 1)
        CancelIoEx(pipeHandle, operation);
    /* A cancelled operation uses its OVERLAPPED until it has completed. */
    return GetOverlappedResult(pipeHandle, operation, count, TRUE) ? ERROR_SUCCESS : GetLastError();
}

static OVERLAPPED newOperation(void)
{
    OVERLAPPED operation = {0};
    operation.hEvent = ioEvent;
    return operation;
}

/* Returns ERROR_SUCCESS once a client is connected. */
static DWORD connectClient(void)
{
    OVERLAPPED operation = newOperation();
    DWORD ignored = 0;
    const DWORD error = finish(ConnectNamedPipe(pipeHandle, &operation), &operation, INFINITE, &ignored);
    return error == ERROR_PIPE_CONNECTED ? ERROR_SUCCESS : error;
}

static DWORD readMessage(void* buffer, DWORD timeOut, DWORD* count)
{
    OVERLAPPED operation = newOperation();
    *count = 0;
    return finish(ReadFile(pipeHandle, buffer, LARGEST_MESSAGE, NULL, &operation), &operation, timeOut,
                  count);
}

static void writeReply(const char* text)
{
    static unsigned char reply[HEADER + 64];
    static unsigned char rest[LARGEST_MESSAGE];
    const DWORD length = HEADER + (DWORD)strlen(text);
    const DWORD sender = GetCurrentProcessId();
    OVERLAPPED operation = newOperation();
    DWORD count = 0;
    int i;

    reply[0] = 1;
    for (i = 0; i < 4; ++i) {
        reply[1 + i] = (unsigned char)(length >> (24 - 8 * i));
        reply[5 + i] = (unsigned char)(sender >> (24 - 8 * i));
    }
    memcpy(reply + HEADER, text, length - HEADER);
    if (finish(WriteFile(pipeHandle, reply, length, NULL, &operation), &operation, LONGEST_SILENCE, &count) ==
        0)
        readMessage(rest, REPLY_GRACE, &count); /* until the client has read the reply and closed its end */
}

static int isRequest(const char* text, DWORD length)
{
    return length == HEADER + strlen(text) && memcmp(message + HEADER, text, length - HEADER) == 0;
}

/* Reads and answers the request of the client that is connected. */
static void serveClient(void)
{
    char text[16];
    DWORD length = 0;

    if (readMessage(message, LONGEST_SILENCE, &length) != ERROR_SUCCESS)
        return;
    if (isRequest("/gethwnd", length)) {
        printf("asked for the window\n");
        snprintf(text, sizeof text, "%ld", HandleToLong(GetConsoleWindow()));
        writeReply(text);
    } else if (isRequest("/show", length)) {
        printf("asked to come to the front\n"); /* a program with a window posts a message to it */
        writeReply("shown");
    }
    fflush(stdout);
}

static unsigned __stdcall serve(void* unused)
{
    (void)unused;
    while (WaitForSingleObject(stopEvent, 0) != WAIT_OBJECT_0) {
        const DWORD error = connectClient();
        if (error == ERROR_SUCCESS)
            serveClient();
        else if (error != ERROR_NO_DATA) /* ERROR_NO_DATA: the client has closed its end */
            break;
        DisconnectNamedPipe(pipeHandle);
    }
    return 0;
}

/* Returns ERROR_SUCCESS and the mutex; ERROR_ALREADY_EXISTS or ERROR_ACCESS_DENIED if another instance is
 * running; else the error of CreateMutexW. */
static DWORD claimMutex(const char* application, HANDLE* mutex)
{
    wchar_t name[32 + LONGEST_NAME];
    DWORD error;

    makeName(name, L"Global\\QUENLITH_", application, 1);
    *mutex = CreateMutexW(NULL, FALSE, name);
    error = GetLastError();
    if (*mutex == NULL)
        return error;
    if (error != ERROR_ALREADY_EXISTS)
        return ERROR_SUCCESS;
    CloseHandle(*mutex);
    return ERROR_ALREADY_EXISTS;
}

/* Returns null and prints the error if the pipe cannot be created. */
static HANDLE createPipe(const char* application)
{
    wchar_t path[64 + LONGEST_NAME];
    HANDLE pipe;

    makeName(path, L"\\\\.\\pipe\\3C9E21B4-7A5D-4F08-9B6C-E1D24F7A0C95_", application, 0);
    pipe =
        CreateNamedPipeW(path, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | FILE_FLAG_FIRST_PIPE_INSTANCE,
                         PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
                         1, LARGEST_MESSAGE, LARGEST_MESSAGE, 0, NULL);
    if (pipe != INVALID_HANDLE_VALUE)
        return pipe;
    fprintf(stderr, "CreateNamedPipeW failed with error %lu\n", GetLastError());
    return NULL;
}

int main(int count, char** arguments)
{
    const ULONGLONG end = GetTickCount64() + LONGEST_SEARCH;
    HANDLE mutex, listener;
    DWORD error;

    if (count != 2 || strlen(arguments[1]) > LONGEST_NAME) {
        fputs("usage: single_instance_c NAME\n", stderr);
        return 2;
    }
    for (;;) {
        if (bringRuningAppToTop(arguments[1]) != 0)
            return 1;
        error = claimMutex(arguments[1], &mutex);
        if (error == ERROR_SUCCESS)
            break;
        if (error != ERROR_ALREADY_EXISTS && error != ERROR_ACCESS_DENIED) {
            fprintf(stderr, "CreateMutexW failed with error %lu\n", error);
            return 3;
        }
        if (GetTickCount64() > end)
            return 4; /* the running instance hangs, or is another user's and not accessible */
        /* Of two simultaneous starts, one gets the mutex; the other retries until the pipe is served. */
        Sleep(100 + GetCurrentProcessId() % 100);
    }

    stopEvent = CreateEventW(NULL, TRUE, FALSE, NULL);
    ioEvent = CreateEventW(NULL, TRUE, FALSE, NULL);
    pipeHandle = createPipe(arguments[1]);
    if (stopEvent == NULL || ioEvent == NULL || pipeHandle == NULL)
        return 3;
    listener = (HANDLE)_beginthreadex(NULL, 0, serve, NULL, 0, NULL);
    if (listener == NULL)
        return 3;
    puts("serving; press Enter to end");
    fflush(stdout);
    getchar();

    SetEvent(stopEvent);
    WaitForSingleObject(listener, INFINITE);
    CloseHandle(listener);
    CloseHandle(pipeHandle);
    CloseHandle(mutex);
    return 0;
}
