#pragma once

#include "io/streams.h"
#include "sys/safe_data_holder.h"
#include "win32/owner.h"

#include <string>

namespace io {

/// \brief A file that is written from its start, and closed by the destructor.
///
/// Others may read the file meanwhile. `Write` belongs to one thread at a time.
class COStreamFile final : public COStreamBase<char> {
public:
    /// \brief Makes the file, or empties the one that is there.
    /// \return 0; 87 for an empty path; 123 for the name of a device; 183 when this stream is open already;
    /// else the system's error.
    std::uint32_t open(const std::wstring& path);

    /// \brief Appends to the file.
    ///
    /// Should the system take only a part, the next attempt begins with the first byte of the buffer again.
    std::uint32_t Write(const char* buffer, std::uint32_t count) override;

    std::uint32_t GetLastError() const override { return lastError_; }

private:
    sys::CSafeDataHolder<win32::KernelHandle> file_;
    std::uint32_t lastError_ = 0;
};

} // namespace io
