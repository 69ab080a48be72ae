// A plain mutex that clang's thread safety analysis knows, for the state inside the platform. Always a
// leaf: no callback of the system runs and no lock of the system is taken while one of these is held.
#pragma once

#include <mutex>

#include "platform/ThreadAnnotations.h"

namespace Kernova::Internal {

// BasicLockable, so that a std::condition_variable_any can wait with it.
class CAPABILITY("mutex") Mutex {
public:
    void lock() ACQUIRE() { m_mutex.lock(); }
    void unlock() RELEASE() { m_mutex.unlock(); }

private:
    std::mutex m_mutex;
};

class SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~MutexLock() RELEASE() { m_mutex.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& m_mutex;
};

}  // namespace Kernova::Internal
