#include "bench/other_downloads.h"

#include "win32/owner.h"

#include <vector>

#include <windows.h>

#include <urlmon.h>
#include <wininet.h>

namespace bench {
namespace {

struct InternetTraits : win32::NullableTraits<HINTERNET> {
    static void release(HINTERNET value) { InternetCloseHandle(value); }
};
using InternetHandle = win32::Owner<InternetTraits>;

} // namespace

bool downloadByUrlmon(const std::wstring& url, const std::wstring& path) {
    // Otherwise URLDownloadToFileW would read the second download from the cache.
    DeleteUrlCacheEntryW(url.c_str());
    return SUCCEEDED(URLDownloadToFileW(nullptr, url.c_str(), path.c_str(), 0, nullptr));
}

bool downloadByWinInet(const std::wstring& url, const std::wstring& path, unsigned long chunk) {
    const InternetHandle session(InternetOpenW(L"bench", INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0));
    const InternetHandle request(
        InternetOpenUrlW(session.get(), url.c_str(), nullptr, 0,
                         INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_NO_COOKIES, 0));
    const win32::KernelHandle file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!request || !file)
        return false;
    std::vector<char> buffer(chunk);
    for (;;) {
        DWORD count = 0, written = 0;
        if (!InternetReadFile(request.get(), buffer.data(), chunk, &count))
            return false;
        if (count == 0)
            return true;
        if (!WriteFile(file.get(), buffer.data(), count, &written, nullptr) || written != count)
            return false;
    }
}

} // namespace bench
