#pragma once

#include <cstddef>
#include <string>
#include <utility>

namespace sys {

/// \brief Carries the bytes of a file between the disk and whatever changes them in place.
class DataBuff {
public:
    DataBuff() = default;
    /// Takes the bytes of a text; one that is moved in is not copied.
    explicit DataBuff(std::string bytes) : bytes_(std::move(bytes)) {}

    std::size_t size() const { return bytes_.size(); }
    unsigned char* data() { return reinterpret_cast<unsigned char*>(bytes_.data()); }

    /// The bytes as a text: a copy, or the storage itself when the buffer is given away.
    std::string text() const& { return bytes_; }
    std::string text() && { return std::move(bytes_); }

private:
    std::string bytes_;
};

} // namespace sys
