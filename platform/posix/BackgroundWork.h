#pragma once

namespace tq {

/// Work off the main thread, counted while it exists. When the process ends by `exit`, that waits for a moment until no
/// work is left; what goes on then, or comes later, stops for good, so that it meets nothing that has been taken down.
class BackgroundWork {
public:
    BackgroundWork();
    ~BackgroundWork();
    BackgroundWork(const BackgroundWork&) = delete;
    BackgroundWork& operator=(const BackgroundWork&) = delete;

    /// Counts what is left of this thread, which is about to end: libraries let go of what they keep for it then. Does
    /// not return when the process is ending.
    static void countEndOfThread();
    /// Does not return when the process is ending. To be called within work now and then, without a lock held.
    static void stopIfEnding();
    /// Has `exit` wait before it takes down what has been set up before this call. Once for each such thing.
    static void waitBeforeExit();
};

} // namespace tq
