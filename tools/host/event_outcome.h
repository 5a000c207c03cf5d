#pragma once

#include "errors.h"

#include <cstdint>
#include <string>

namespace host {

/// What the library has logged about the post of an event.
struct EventOutcome {
    enum class Kind { accepted, rejected, failed, unknown };

    Kind kind = Kind::unknown;
    std::int32_t code =
        0; ///< The HTTP status if the host rejected the event, the transport code if the transfer failed.
    std::wstring reply{}; ///< The body of a rejecting reply.
};

/// \brief Returns the time in the form that begins a line of the log.
std::string logTime();

/// \brief Finds the outcome of the last event that this thread has posted.
/// \param logs The folder of the logs.
/// \param begin Only lines of this time or later count.
EventOutcome findOutcome(const std::wstring& logs, const std::string& begin);

/// \brief Describes a transport code of the log ("curl 7").
Cause transportError(std::int32_t code);

} // namespace host
