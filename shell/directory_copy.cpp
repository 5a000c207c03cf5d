#include "shell/directory_copy.h"

#include "shell/path_identity.h"
#include "text/wide.h"
#include "win32/owner.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

#include <shlobj.h>

namespace shell {
namespace {

constexpr std::size_t kLongestPath = 512; // characters; longer paths are truncated

/// One counter for the whole process: callers depend on it.
std::atomic<std::uint32_t> failures;

void printLine(const wchar_t* line) {
    std::fputws(line, stdout);
    std::fflush(stdout);
}

void fail(const wchar_t* work, DWORD error) {
    ++failures;
    printLine(
        (std::wstring(L"error ") + work + L": " + text::decimal(static_cast<int>(error)) + L"\n").c_str());
}

bool isLink(const WIN32_FIND_DATAW& entry) {
    // Other reparse points, for instance placeholders of cloud storage, are folders of the tree.
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (entry.dwReserved0 == 0 || IsReparseTagNameSurrogate(entry.dwReserved0));
}

/// \param path Without a backslash at its end: FindFirstFileW always fails for a path that has one.
bool isLink(const std::wstring& path) {
    WIN32_FIND_DATAW entry{};
    const win32::FindHandle find(FindFirstFileW(path.c_str(), &entry));
    return find && isLink(entry);
}

/// Returns the path of an entry. After the prefix "\\?\" a doubled backslash makes a name invalid.
std::wstring joined(const std::wstring& folder, std::wstring_view name) {
    std::wstring path = folder.substr(0, folder.find_last_not_of(L"\\/") + 1);
    return path.append(1, L'\\').append(name);
}

/// Lists a folder. A folder that cannot be listed counts as empty.
class Listing {
public:
    explicit Listing(const std::wstring& folder)
        : entry_(std::make_unique<WIN32_FIND_DATAW>()),
          find_(FindFirstFileW(joined(folder, L"*").c_str(), entry_.get())) {}

    /// Advances to the next entry and skips "." and "..". Returns false at the end.
    bool next() {
        while (find_ && (isFirst_ || FindNextFileW(find_.get(), entry_.get()))) {
            isFirst_ = false;
            if (!isFolder() || (name() != L"." && name() != L".."))
                return true;
        }
        return false;
    }

    std::wstring_view name() const { return entry_->cFileName; }
    bool isFolder() const { return (entry_->dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
    bool isLink() const { return shell::isLink(*entry_); }

private:
    std::unique_ptr<WIN32_FIND_DATAW> entry_; // off the stack, since folders nest deeply
    win32::FindHandle find_;
    bool isFirst_ = true;
};

std::wstring cut(const std::wstring& path) {
    return path.substr(0, kLongestPath);
}

/// Returns true if recursion must not enter a child because its path is truncated. The truncated path may
/// name a link, whose target is not part of this tree. If only dots and blanks remain of the child's name,
/// the path names the folder itself or its parent, and the recursion would not end.
bool isCutAstray(const std::wstring& child) {
    if (child.size() <= kLongestPath)
        return false;
    const std::size_t name = std::min(child.find_last_of(L'\\') + 1, kLongestPath);
    return cut(child).find_first_not_of(L". ", name) == child.npos || isLink(cut(child));
}

void removeFolder(const std::wstring& path) {
    if (!RemoveDirectoryW(path.c_str()))
        fail(L"RemoveDirectory", GetLastError());
}

void deleteTree(const std::wstring& given) {
    const std::wstring path = cut(given);
    Listing listing(path);
    while (listing.next()) {
        const std::wstring child = joined(path, listing.name());
        if (!listing.isFolder()) {
            if (DeleteFileW(child.c_str()) != TRUE)
                fail(L"delete", GetLastError());
        } else if (listing.isLink()) {
            removeFolder(child); // the target of a link is not part of this tree
        } else if (isCutAstray(child)) {
            fail(L"delete", ERROR_FILENAME_EXCED_RANGE);
        } else {
            deleteTree(child);
        }
    }
    removeFolder(path);
}

class TreeCopy {
public:
    TreeCopy(const std::wstring& source, const std::wstring& destination)
        : destination_(destination), isDestinationInside_(holds(source, destination)) {}

    void copy(const std::wstring& givenSource, const std::wstring& givenDestination) {
        const std::wstring source = cut(givenSource), destination = cut(givenDestination);
        walked_.push_back(&source);
        Listing listing(source);
        while (listing.next()) {
            const std::wstring from = joined(source, listing.name());
            const std::wstring to = joined(destination, listing.name());
            if (!listing.isFolder()) {
                if (CopyFileW(from.c_str(), to.c_str(), TRUE) != TRUE)
                    fail(L"copy", GetLastError());
                continue;
            }
            if (SHCreateDirectory(nullptr, to.c_str()) != ERROR_SUCCESS)
                fail(L"create directory", GetLastError());
            if (isCutAstray(from))
                fail(L"copy", ERROR_FILENAME_EXCED_RANGE);
            else if (isEndless(from, listing.isLink(), to))
                fail(L"copy", ERROR_CANT_RESOLVE_FILENAME);
            else
                copy(from, to);
        }
        walked_.pop_back();
    }

private:
    /// Returns true if copying a folder would never end: it is the destination, or a link whose target is an
    /// ancestor of the link or contains its copy `to`.
    bool isEndless(const std::wstring& folder, bool isLink, const std::wstring& to) const {
        if (!isLink)
            return isDestinationInside_ && isSameFolder(destination_, folder);
        const auto isFolder = [&](const std::wstring* other) { return isSameFolder(*other, folder); };
        return std::ranges::any_of(walked_, isFolder) || holds(folder, *walked_.front()) || holds(folder, to);
    }

    const std::wstring destination_;
    const bool isDestinationInside_;
    std::vector<const std::wstring*> walked_; // from the source to the folder that is being copied
};

bool isBlank(const std::wstring& text) {
    return text.find_first_not_of(L" \t\r\n\v\f") == text.npos;
}

void replace(const std::wstring& source, const std::wstring& destination) {
    if (isBlank(source))
        return fail(L"copy", ERROR_INVALID_PARAMETER);
    if (isBlank(destination) || isRoot(destination) || holds(destination, source))
        return fail(L"delete", ERROR_INVALID_PARAMETER);

    TreeCopy tree(source, destination);
    if (isLink(destination.substr(0, destination.find_last_not_of(L"\\/") + 1)))
        removeFolder(destination);
    else
        deleteTree(destination);
    tree.copy(source, destination);
}

} // namespace

std::uint32_t replaceDirectory(const std::wstring& source, const std::wstring& destination) {
    failures = 0;
    try {
        replace(cut(source), cut(destination));
    } catch (...) {
        printLine(L"error Exception\n");
    }
    return failures;
}

} // namespace shell
