#pragma once

#include "Export.h"

#include <functional>
#include <memory>

namespace tq {

/// Runs operations one after another, in the order in which they were added.
class TQWB_EXPORT NSOperationQueue {
public:
    /// A queue with a thread of its own, off the main thread. The thread ends when the last reference to the queue is
    /// gone and everything added has run; nobody waits for it.
    static std::shared_ptr<NSOperationQueue> create();
    /// The queue of the main thread.
    static const std::shared_ptr<NSOperationQueue>& mainQueue();

    ~NSOperationQueue();
    NSOperationQueue(const NSOperationQueue&) = delete;
    NSOperationQueue& operator=(const NSOperationQueue&) = delete;

    /// Any thread. An exception that leaves the operation is logged and goes no further.
    void addOperation(std::function<void()> operation);
    /// Whether its operations run on the main thread.
    bool isMainQueue() const { return !m_impl; }

private:
    struct Impl;
    explicit NSOperationQueue(std::shared_ptr<Impl> impl);

    std::shared_ptr<Impl> m_impl;
};

} // namespace tq
