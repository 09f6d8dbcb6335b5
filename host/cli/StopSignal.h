// StopSignal: the signals that ask a program to stop, as a question.
#pragma once

namespace Host {

// While one stands, SIGINT, SIGTERM and SIGHUP do not end the program at once but are remembered; one that comes more
// than a second later does (what stops a program may well send two at once). A pipe that nobody reads any more
// (SIGPIPE) is no signal then, but an output that cannot be written. At most one stands at a time.
class StopSignal {
public:
    StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;
    ~StopSignal();

    // The number of the signal that came; 0 before.
    [[nodiscard]] static int Get();
    // From now on, while one stands, a signal also writes the number 1 in eight bytes to a descriptor (an eventfd), by
    // which a wait with poll() ends wherever it has got to; -1 for none. The descriptor stays open until then.
    static void WakeThrough(int file);

private:
    void (*pipeBefore_)(int);
};

}  // namespace Host
