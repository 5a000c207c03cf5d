#pragma once

#include <cstddef>
#include <string>
#include <utility>

namespace sys {

/// \brief Owns the bytes of a file while they are changed in place.
class DataBuff {
public:
    DataBuff() = default;
    /// Takes the bytes of a string. A string that is moved in is not copied.
    explicit DataBuff(std::string bytes) : bytes_(std::move(bytes)) {}

    std::size_t size() const { return bytes_.size(); }
    unsigned char* data() { return reinterpret_cast<unsigned char*>(bytes_.data()); }

    /// Returns the bytes as a string: a copy, or the storage itself if the buffer is an rvalue.
    std::string text() const& { return bytes_; }
    std::string text() && { return std::move(bytes_); }

private:
    std::string bytes_;
};

} // namespace sys
