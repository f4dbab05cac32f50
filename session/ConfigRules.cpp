// Which records a session takes.

#include "TQWhiteBoardLib/TQWhiteBoard.h"

namespace tq {

namespace {
constexpr std::int32_t kMaxMinutes = 10000;
}

bool TQWhiteBoard::invaliedRoomConfig(const TQWBRoomConfig* config)
{
    return config && config->appKey && config->token && config->roomId && config->userId && config->userName
        && config->minutes >= 0 && config->minutes <= kMaxMinutes;
}

bool TQWhiteBoard::invaliedRecordConfig(const TQWBRecordConfig* config)
{
    return config && config->appKey && config->token && config->roomId && config->userId && config->userName
        && config->url;
}

bool isUsable(const TQWBRoomConfig& config) { return TQWhiteBoard::invaliedRoomConfig(&config); }

bool isUsable(const TQWBRecordConfig& config) { return TQWhiteBoard::invaliedRecordConfig(&config); }

} // namespace tq
