#include "../Foundation/NSOperationQueue.h"

#include "../Foundation/Dispatch.h"
#include "BackgroundWork.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

namespace tq {

struct NSOperationQueue::Impl {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> operations;
    bool isClosed = false;

    // What an operation holds is let go of with it.
    static void perform(std::function<void()> operation)
    {
        const BackgroundWork work;
        runGuarded(operation);
        operation = nullptr;
    }
    void run()
    {
        std::unique_lock lock(mutex);
        while (true) {
            changed.wait(lock, [&] { return isClosed || !operations.empty(); });
            if (operations.empty())
                break;
            auto operation = std::move(operations.front());
            operations.pop_front();
            lock.unlock();
            perform(std::move(operation));
            lock.lock();
        }
        lock.unlock();
        BackgroundWork::countEndOfThread();
    }
};

NSOperationQueue::NSOperationQueue(std::shared_ptr<Impl> impl)
    : m_impl(std::move(impl))
{
}

std::shared_ptr<NSOperationQueue> NSOperationQueue::create()
{
    auto impl = std::make_shared<Impl>();
    // The thread shares the state and not the queue, so that the queue's last reference may be dropped on it.
    try {
        std::thread([impl] { impl->run(); }).detach();
    } catch (const std::system_error&) {
        // No thread is to be had: better late, on the main thread, than never.
        impl = nullptr;
    }
    return std::shared_ptr<NSOperationQueue>(new NSOperationQueue(std::move(impl)));
}

const std::shared_ptr<NSOperationQueue>& NSOperationQueue::mainQueue()
{
    static const auto& queue = *new std::shared_ptr<NSOperationQueue>(new NSOperationQueue(nullptr));
    return queue;
}

NSOperationQueue::~NSOperationQueue()
{
    if (!m_impl)
        return;
    const std::lock_guard lock(m_impl->mutex);
    m_impl->isClosed = true;
    m_impl->changed.notify_all();
}

void NSOperationQueue::addOperation(std::function<void()> operation)
{
    if (!m_impl) {
        dispatchToMain(std::move(operation));
        return;
    }
    const std::lock_guard lock(m_impl->mutex);
    m_impl->operations.push_back(std::move(operation));
    m_impl->changed.notify_all();
}

} // namespace tq
