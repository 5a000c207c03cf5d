#pragma once

#include "io/streams.h"
#include "sys/safe_data_holder.h"
#include "win32/owner.h"

#include <string>

namespace io {

/// \brief Writes a new or truncated file. The destructor closes the file.
///
/// Other handles may read the file meanwhile. Call `Write` from one thread at a time.
class COStreamFile final : public COStreamBase<char> {
public:
    /// \brief Creates the file, or truncates an existing one.
    /// \return 0; `ERROR_INVALID_PARAMETER` (87) for an empty path; `ERROR_INVALID_NAME` (123) for a device;
    /// `ERROR_ALREADY_EXISTS` (183) if this stream is already open; otherwise the error of CreateFileW.
    std::uint32_t open(const std::wstring& path);

    /// \brief Appends to the file.
    ///
    /// After a partial WriteFile, the next attempt starts at the first byte of the buffer again, not after
    /// the bytes written. `GetLastError` returns `ERROR_BAD_ENVIRONMENT` (10) if the stream is not open, and
    /// `ERROR_WRITE_FAULT` (29) if WriteFile succeeds without writing a byte. A null buffer writes nothing
    /// and is no error.
    std::uint32_t Write(const char* buffer, std::uint32_t count) override;

    std::uint32_t GetLastError() const override { return lastError_; }

private:
    sys::CSafeDataHolder<win32::KernelHandle> file_;
    std::uint32_t lastError_ = 0;
};

} // namespace io
