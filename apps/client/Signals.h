#pragma once

#include "GLibTypes.h"

#include <utility>
#include <vector>

namespace tqclient {

/// The signal handlers of one owner, all of them disconnected when it goes. Main thread.
class Signals {
public:
    Signals() = default;
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;
    ~Signals();

    void connect(gpointer instance, const char* signal, GCallback handler, gpointer data);

private:
    std::vector<std::pair<UniqueObject<GObject>, gulong>> m_handlers;
};

} // namespace tqclient
