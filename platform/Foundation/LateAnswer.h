#pragma once

#include "Dispatch.h"

#include <functional>
#include <utility>

namespace tq {

/// A question to the application whose answer somebody waits for. The first answer counts; when the question goes
/// without any, it is the one for none. It is taken on the main thread, never within the call that gives it. Any
/// thread, not two at once.
template <class T> class LateAnswer {
public:
    LateAnswer(std::function<void(const T& answer)> take, T none)
        : m_take(std::move(take))
        , m_none(std::move(none))
    {
    }
    ~LateAnswer() { answer(std::move(m_none)); }
    LateAnswer(const LateAnswer&) = delete;
    LateAnswer& operator=(const LateAnswer&) = delete;

    void answer(T given)
    {
        if (auto take = std::exchange(m_take, nullptr))
            dispatchToMain([take = std::move(take), given = std::move(given)] { take(given); });
    }

private:
    std::function<void(const T&)> m_take;
    T m_none;
};

} // namespace tq
