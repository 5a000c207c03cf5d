#pragma once

#include <cstdint>

namespace io {

/// \brief A sink of characters.
template <class Character>
class COStreamBase {
public:
    virtual ~COStreamBase() = default;

    /// \brief Writes `count` characters.
    /// \return Number of characters written. Fewer than `count` means failure; `GetLastError` returns the
    /// error.
    virtual std::uint32_t Write(const Character* buffer, std::uint32_t count) = 0;

    /// \brief Writes one character.
    /// \return 1, or 0 on failure.
    virtual std::uint32_t Put(Character character) { return Write(&character, 1); }

    /// \brief Returns the Windows error of the last write; 0 if it succeeded.
    virtual std::uint32_t GetLastError() const = 0;
};

/// \brief A source of bytes of known length.
class CIStreamBase {
public:
    virtual ~CIStreamBase() = default;

    /// \brief Returns the total number of bytes.
    virtual std::int64_t size() const = 0;

    /// \brief Reads up to `capacity` bytes.
    /// \param[out] count Number of bytes read; 0 at the end.
    /// \return False if reading fails.
    virtual bool read(char* buffer, std::uint32_t capacity, std::uint32_t& count) = 0;
};

} // namespace io
