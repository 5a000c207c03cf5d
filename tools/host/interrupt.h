#pragma once

#include <functional>

namespace host {

/// \brief Makes Ctrl+C, Ctrl+Break and the end of the console end the program with \ref kInterrupted.
void installInterruptHandler();

/// \brief Runs a function before an interrupt ends the program. At most one object at a time.
class InterruptCleanUp {
public:
    /// \param cleanUp Called on the thread of the handler, while this object lives. Returns false if it has
    /// reported a failure, which the handler then does not replace by its own report.
    explicit InterruptCleanUp(std::function<bool()> cleanUp);
    InterruptCleanUp(const InterruptCleanUp&) = delete;
    InterruptCleanUp& operator=(const InterruptCleanUp&) = delete;
    /// Blocks while the handler runs the function.
    ~InterruptCleanUp();
};

/// \brief While an object lives, an interrupt sets a flag, which the caller polls, and ends the program only
/// after 3 s. At most one object at a time.
class PolledInterrupt {
public:
    PolledInterrupt();
    PolledInterrupt(const PolledInterrupt&) = delete;
    PolledInterrupt& operator=(const PolledInterrupt&) = delete;
    ~PolledInterrupt();

    bool isSet() const;
};

} // namespace host
