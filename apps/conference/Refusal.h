#pragma once

#include <string>

namespace tq::conference {

/// Why a request is not done: thrown where that is found out, and told to whoever has asked.
struct Refusal {
    static constexpr int s_badToken = 403;
    static constexpr int s_notFound = 404;
    static constexpr int s_wrongMethod = 405;
    static constexpr int s_tooLarge = 413;
    static constexpr int s_malformed = 4000;
    static constexpr int s_roomFull = 4001;
    static constexpr int s_serviceFull = 4002;
    static constexpr int s_noRecording = 4004;
    static constexpr int s_unknownKey = 4040;
    static constexpr int s_notInRoom = 4041;
    static constexpr int s_timeOver = 4080;
    static constexpr int s_replaced = 4091;
    static constexpr int s_badMessage = 4100;

    int code;
    std::string desc;
    unsigned status = 200; ///< of HTTP

    /// Refuses what is not as it has to be.
    static void require(bool isRight, const std::string& desc)
    {
        if (!isRight)
            throw Refusal{ s_malformed, desc, 400 };
    }
};

} // namespace tq::conference
