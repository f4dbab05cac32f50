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

    /// Does not return when the process is ending. To be called within work now and then, without a lock held.
    static void stopIfEnding();
    /// Has `exit` wait before it takes down what has been set up before this call. Once for each such thing.
    static void waitBeforeExit();
};

} // namespace tq
