// Registration and heartbeat, the first messages of every connection.
#pragma once

#include "wirova/Message.h"

// clang-format off

struct XC2S_VelkarConnectReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_VelkarConnectReq, 86194762,
        (string, strGID)               // [20] the connector's GID
        (string, strSID)               // [20] the connector's SID
        (string, strWID)               // [20] the connector's WID
        (int32,  nHeartbeatCycle)      // HEARTBEAT_CYCLE, seconds
        (string, strConnectTime))      // local time of sending: yyyy/mm/dd hh:mm:ss.mmm
};

struct XS2C_VelkarConnectAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_VelkarConnectAns, 121030634,
        (string, strConnectInfo1)      // the service's own; not used
        (string, strConnectInfo2)      // the service's own; not used
        (int32,  nResult)              // 0: accepted; others: refused
        (string, strMessage))          // text that goes with nResult
};

// The smallest frame; has no answer.
struct XC2S_Heartbeat final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_Heartbeat, 238751658, )
};

// clang-format on
