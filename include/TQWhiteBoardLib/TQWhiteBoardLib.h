#pragma once

#include "DSCallInfo.h"
#include "DWKWebView.h"
#include "TQWBException.h"
#include "TQWBNaviDataInfo.h"
#include "TQWBPermissionProtocol.h"
#include "TQWBRecordConfig.h"
#include "TQWBRecordProtocol.h"
#include "TQWBRoomConfig.h"
#include "TQWBRoomStatusProtocol.h"
#include "TQWBWebView.h"
#include "TQWhiteBoard.h"
