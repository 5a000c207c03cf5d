#pragma once

#include <functional>

namespace host {

/// \brief Makes Ctrl+C, Ctrl+Break and the end of the console or the session end the program with
/// \ref kInterrupted.
void installInterruptHandler();

/// \brief Runs a function before an interrupt ends the program. At most one object at a time.
class InterruptCleanUp {
public:
    /// \param cleanUp Called on the thread of the handler, while this object lives.
    explicit InterruptCleanUp(std::function<void()> cleanUp);
    InterruptCleanUp(const InterruptCleanUp&) = delete;
    InterruptCleanUp& operator=(const InterruptCleanUp&) = delete;
    /// Blocks while the handler runs the function.
    ~InterruptCleanUp();
};

/// \brief While an object lives, an interrupt does not end the program but sets a flag, which the caller
/// polls. At most one object at a time.
class PolledInterrupt {
public:
    PolledInterrupt();
    PolledInterrupt(const PolledInterrupt&) = delete;
    PolledInterrupt& operator=(const PolledInterrupt&) = delete;
    ~PolledInterrupt();

    bool isSet() const;
};

} // namespace host
