#pragma once

#include "text/expand.h"

#include <cstdint>
#include <string>

namespace stats {

/// What is the same for all events of one call: the application and its installation. UTF-8.
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

/// What a single event tells. UTF-8.
struct TEvent {
    std::string eventType;
    std::string source;
    std::string infoType;
    std::string info;
};

/// \brief The named values from which the body of an event is made.
///
/// Values are kept as they will stand in the JSON text. Not safe for use by several threads at once.
class CEventRecord {
public:
    /// \brief Takes the values of one call; those of the former call are all replaced.
    void store(const TApplicationValues& application);

    /// \brief Takes the values of one event, its number, and whether it is marked as a test.
    void store(const TEvent& event, std::uint32_t number, bool isTest);

    /// \brief The event as a compact JSON object. Every field is there, those without a value as empty texts.
    std::string body() const;

private:
    void put(const char* key, const std::string& value);

    text::PlaceholderValues values_;
};

} // namespace stats
