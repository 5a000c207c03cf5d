/* A DLL that does nothing and needs kernel32 only: less than loading this costs no DLL. */
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void* reserved) {
    (void)module, (void)reserved;
    return reason != DLL_PROCESS_ATTACH || GetCurrentProcessId() != 0;
}
