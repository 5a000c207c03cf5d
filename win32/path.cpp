#include "win32/path.h"

namespace win32 {

std::wstring joinPath(std::wstring folder, std::wstring_view name) {
    if (name.empty())
        return folder;
    if (!folder.empty() && folder.back() != L'\\')
        folder += L'\\';
    return folder.append(name);
}

} // namespace win32
