// The host process as a test wants it.
#pragma once

#include <string>
#include <vector>

#include "platform/Host.h"

namespace Fake::HostProcess {

// The executable's directory: a directory of this test program alone, emptied by Reset.
std::string Directory();

// From now on GetLocalTime answers this, until Reset; it is noon of a day in 2024 otherwise. It does not
// move.
void SetLocalTime(const Host::LocalTime& time);

// ShowErrorBox notes its texts and answers what is set (true unless set).
struct Box {
    std::string strTitle, strText;
};
std::vector<Box> Boxes();
void SetBoxAnswer(bool bShown);

// Fires every armed change notification although nothing has changed. Real changes of files fire by
// themselves within some 10 ms.
void NotifyChange();

void Reset();

}  // namespace Fake::HostProcess
