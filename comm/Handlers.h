// The handlers' own work, after the message has been loaded and inside the guard that all of them share.
// They run on a pool thread with the link's read stream locked, one at a time, in the order of arrival.
// What they return is Dispatch's result, which nobody reads.
#pragma once

#include "wirova/messages/BaseMessages.h"
#include "wirova/messages/SessionMessages.h"

bool OnVelkarAddConnctorAns(const XS2C_VelkarConnectAns& msg);
bool OnCheckinRes(const XS2C_CheckInAns& msg);
bool OnCheckOutRes(const XS2C_CheckOutAns& msg);
