// Memory for an asynchronous operation, reserved before the operation is needed.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <new>
#include <utility>

namespace Netrova {

// Room for one operation of the event loop. An operation that finds the room taken, or too small, takes its
// memory from the heap. Lives as long as the object whose operations use it.
class HandlerMemory {
public:
    HandlerMemory() = default;
    HandlerMemory(const HandlerMemory&) = delete;
    HandlerMemory& operator=(const HandlerMemory&) = delete;

    void* Take(std::size_t nSize)
    {
        return nSize <= m_room.size() && !m_bTaken.exchange(true) ? m_room.data() : ::operator new(nSize);
    }
    void Give(void* p)
    {
        if (p == m_room.data())
            m_bTaken.store(false);
        else
            ::operator delete(p);
    }

private:
    alignas(std::max_align_t) std::array<unsigned char, 512> m_room;
    std::atomic<bool> m_bTaken{false};
};

// The same for the event loop, which asks a handler for its allocator.
template <class T>
class HandlerAllocator {
public:
    using value_type = T;

    explicit HandlerAllocator(HandlerMemory& memory) : m_pMemory(&memory) {}
    template <class U>
    HandlerAllocator(const HandlerAllocator<U>& other) : m_pMemory(other.m_pMemory)
    {
    }
    T* allocate(std::size_t nCount) { return static_cast<T*>(m_pMemory->Take(nCount * sizeof(T))); }
    void deallocate(T* p, std::size_t) { m_pMemory->Give(p); }
    bool operator==(const HandlerAllocator& other) const = default;

    HandlerMemory* m_pMemory;
};

// A handler whose operation uses that memory.
template <class Handler>
struct HandlerIn {
    using allocator_type = HandlerAllocator<void>;
    allocator_type get_allocator() const { return allocator_type(*pMemory); }
    template <class... Args>
    void operator()(Args&&... args)
    {
        handler(std::forward<Args>(args)...);
    }

    HandlerMemory* pMemory;
    Handler handler;
};
template <class Handler>
HandlerIn<Handler> In(HandlerMemory& memory, Handler handler)
{
    return {&memory, std::move(handler)};
}

}  // namespace Netrova
