#include "ipc/channel_names.h"

#include <cctype>

namespace ipc {
namespace {

/// Sign-extends each byte: 0x80 becomes 0xFF80. The name does not depend on the code page, so all instances
/// build the same one.
std::wstring widened(const std::string& narrow) {
    std::wstring wide;
    for (const char byte : narrow)
        wide.push_back(static_cast<wchar_t>(static_cast<signed char>(byte)));
    return wide;
}

} // namespace

std::wstring instanceMutexName(const std::string& application) {
    std::string name = "Quenlith_" + application;
    for (char& c : name)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return L"Global\\" + widened(name);
}

std::wstring pipeBaseName(const std::string& application) {
    return L"3C9E21B4-7A5D-4F08-9B6C-E1D24F7A0C95_" + widened(application);
}

} // namespace ipc
