/* A DLL that does nothing and imports only kernel32: the lower bound for the cost of loading a DLL. */
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* reserved) {
    (void)module, (void)reserved;
    return reason != DLL_PROCESS_ATTACH || GetCurrentProcessId() != 0;
}
