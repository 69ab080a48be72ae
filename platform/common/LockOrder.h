// The check of the order of locks in debugging builds; nothing in any other build.
#pragma once

#include "platform/LockRank.h"

namespace Kernova::Internal {

#ifdef NDEBUG
inline void BeforeLock(const void*, Threading::LockRank) {}
inline void AfterUnlock(const void*) {}
#else
// Notes the lock for the calling thread; ends the process if the thread holds a lock that belongs inside it.
void BeforeLock(const void* pLock, Threading::LockRank rank);
void AfterUnlock(const void* pLock);
#endif

}  // namespace Kernova::Internal
