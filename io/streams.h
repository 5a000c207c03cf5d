#pragma once

#include <cstdint>

namespace io {

/// \brief A sink of characters.
template <class Character>
class COStreamBase {
public:
    virtual ~COStreamBase() = default;

    /// \brief Writes `count` characters.
    /// \return How many were written; fewer than `count` is a failure that `GetLastError` tells.
    virtual std::uint32_t Write(const Character* buffer, std::uint32_t count) = 0;

    /// \brief Writes one character.
    /// \return 1, or 0 on failure.
    virtual std::uint32_t Put(Character character) { return Write(&character, 1); }

    /// \brief The Windows error number of the last write; 0 when it went well.
    virtual std::uint32_t GetLastError() const = 0;
};

/// \brief A source of bytes whose number is known.
class CIStreamBase {
public:
    virtual ~CIStreamBase() = default;

    /// \brief The number of bytes there are in all.
    virtual std::int64_t size() const = 0;

    /// \brief Reads up to `capacity` bytes.
    /// \param[out] count How many were read; 0 at the end.
    /// \return False when reading failed.
    virtual bool read(char* buffer, std::uint32_t capacity, std::uint32_t& count) = 0;
};

} // namespace io
