#include "BackgroundWork.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <pthread.h>
#include <unistd.h>

namespace tq {

namespace {

constexpr std::chrono::seconds kPatience(2);

// How many pieces of work this thread is within: `exit` may be called there, and must not wait for them.
thread_local int t_depth = 0;

struct State {
    std::mutex mutex;
    std::condition_variable changed;
    int count = 0;
    bool isEnding = false;
};

// Never destroyed.
State& state()
{
    static auto& made = *new State;
    return made;
}

void leave(int count)
{
    const std::lock_guard lock(state().mutex);
    state().count -= count;
    state().changed.notify_all();
}

[[noreturn]] void stop()
{
    while (true)
        pause();
}

// What threads keep is destroyed in rounds, in any order within one. This comes again in the second round, after all
// that others have destroyed in the first.
int s_firstRound;
int s_secondRound;

pthread_key_t endOfThread()
{
    static const pthread_key_t s_key = [] {
        pthread_key_t key{};
        pthread_key_create(&key, [](void* round) {
            if (round == &s_firstRound)
                pthread_setspecific(endOfThread(), &s_secondRound);
            else
                leave(1);
        });
        return key;
    }();
    return s_key;
}

// Counts one more. When the process is ending, only what is within work already comes back from it.
void enter()
{
    {
        const std::lock_guard lock(state().mutex);
        if (!state().isEnding || t_depth) {
            ++state().count;
            return;
        }
    }
    stop();
}

bool isEnding()
{
    const std::lock_guard lock(state().mutex);
    return state().isEnding;
}

void end()
{
    std::unique_lock lock(state().mutex);
    state().isEnding = true;
    state().changed.wait_for(lock, kPatience, [] { return state().count <= t_depth; });
}

} // namespace

BackgroundWork::BackgroundWork()
{
    static const bool s_isWaitedFor = (waitBeforeExit(), true);
    static_cast<void>(s_isWaitedFor);
    enter();
    ++t_depth;
}

BackgroundWork::~BackgroundWork()
{
    --t_depth;
    leave(1);
    // What the caller would do next is nobody's any more.
    if (!t_depth && isEnding())
        stop();
}

void BackgroundWork::countEndOfThread()
{
    enter();
    pthread_setspecific(endOfThread(), &s_firstRound);
}

void BackgroundWork::stopIfEnding()
{
    if (!isEnding())
        return;
    leave(t_depth);
    stop();
}

void BackgroundWork::waitBeforeExit() { static_cast<void>(std::atexit(end)); }

} // namespace tq
