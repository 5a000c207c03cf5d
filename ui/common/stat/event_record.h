#pragma once

#include "text/expand.h"

#include <cstdint>
#include <string>

namespace stats {

/// The fields that all events of one call share: the application and its installation. UTF-8.
struct TApplicationValues {
    std::string applicationId{};
    std::string version{};
    std::string advType{};
    std::string campType{};
    std::string instType{};
    std::string instRef{};
    std::string instCh{};
    std::string guid{};
    std::string buildNumber{};
    std::string country{};
};

/// The fields of a single event. UTF-8.
struct TEvent {
    std::string eventType;
    std::string source;
    std::string infoType;
    std::string info;
};

/// \brief Collects the values of an event and builds its body.
///
/// Stores the values escaped for JSON. Not thread-safe.
class CEventRecord {
public:
    /// \brief Stores the values of a call and overwrites those of the previous call.
    void store(const TApplicationValues& application);

    /// \brief Stores the values of an event and overwrites those of the previous event.
    /// \param isTest Marks the event as a test.
    void store(const TEvent& event, std::uint32_t number, bool isTest);

    /// \brief Returns the event as a compact JSON object. Fields without a value are empty texts.
    std::string body() const;

private:
    void put(const char* key, const std::string& value);

    text::PlaceholderValues values_;
};

} // namespace stats
