// Registration and heartbeat: the messages of a connection itself.
#pragma once

#include "wirova/Message.h"

// clang-format off

// Registers this connector; always the first message of a connection.
struct XC2S_VelkarConnectReq final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_VelkarConnectReq, 86194762,
        (string, strGID)               // [20] the connector's GID
        (string, strSID)               // [20] the connector's SID
        (string, strWID)               // [20] the connector's WID
        (int32,  nHeartbeatCycle)      // HEARTBEAT_CYCLE, seconds
        (string, strConnectTime))      // local time of sending: yyyy/mm/dd hh:mm:ss.mmm
};

// Accepts or refuses the registration. The connector drops a connection on which a re-registration is
// refused.
struct XS2C_VelkarConnectAns final : Wirova::IMessage {
    WIROVA_MESSAGE(XS2C_VelkarConnectAns, 121030634,
        (string, strConnectInfo1)      // the service's own; not used
        (string, strConnectInfo2)      // the service's own; not used
        (int32,  nResult)              // 0: accepted; others: refused
        (string, strMessage))          // text that goes with nResult
};

// Shows the service that the connector is alive, once each heartbeat cycle. The smallest frame; has no
// answer.
struct XC2S_Heartbeat final : Wirova::IMessage {
    WIROVA_MESSAGE(XC2S_Heartbeat, 238751658, )
};

// clang-format on
