// A value and the mutex that guards it.
#pragma once

#include <mutex>

namespace Support {

template <class T>
class Guarded {
public:
    // The value, locked as long as this object lives: with guarded->member to the end of the statement. A
    // second access in the same statement would wait for the first one for ever.
    struct Access {
        T* operator->() const { return &value; }

        T& value;
        std::unique_lock<std::mutex> lock;
    };
    Access Lock() { return {m_value, std::unique_lock(m_mutex)}; }
    Access operator->() { return Lock(); }

private:
    std::mutex m_mutex;
    T m_value;
};

}  // namespace Support
