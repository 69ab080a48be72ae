// Strova and the thread pool: the tests' orders in front of the real ones, whose functions are compiled under
// other names.
#include <set>

#include "platform/Strova.h"
#include "tests/fakeplatform/Parts.h"

namespace {

using Memory = Kernova::MemoryPool::_XMemory;

Support::Guarded<std::set<const Memory*>>& TheSent() { return Fake::Immortal<std::set<const Memory*>>(); }

void ExpectUnsent(const Memory* pMemory)
{
    if (TheSent()->count(pMemory) != 0)
        Fake::Violation("A stream is used after it has been sent");
}

}  // namespace

namespace Fake {

void NoteSent(const Memory* pMemory)
{
    ExpectUnsent(pMemory);
    TheSent()->insert(pMemory);
}

}  // namespace Fake

namespace Strova {

_THandle* RealCreateHandle();
void RealDestroyHandle(_THandle*);
int RealWrite(_THandle*, const void* data, int size);
int RealRemoveLeft(_THandle*, int size);

_THandle* CreateHandle()
{
    if (Fake::MustFail(Fake::Op::StreamCreate))
        return nullptr;
    Fake::Count("streams", 1);
    return RealCreateHandle();
}

void DestroyHandle(_THandle* pStream)
{
    if (pStream == nullptr)
        return;
    TheSent()->erase(GetXMemory(pStream));
    Fake::Count("streams", -1);
    RealDestroyHandle(pStream);
}

int Write(_THandle* pStream, const void* data, int size)
{
    ExpectUnsent(GetXMemory(pStream));
    return Fake::MustFail(Fake::Op::StreamWrite) ? -1 : RealWrite(pStream, data, size);
}

int RemoveLeft(_THandle* pStream, int size)
{
    return Fake::MustFail(Fake::Op::StreamRemoveLeft) ? -1 : RealRemoveLeft(pStream, size);
}

}  // namespace Strova

namespace Kernova::ThreadPool {

_THandle* RealCreateHandle(std::size_t threads);
void RealDestroyHandle(_THandle*);

_THandle* CreateHandle(std::size_t threads)
{
    if (Fake::MustFail(Fake::Op::PoolCreate))
        return nullptr;
    _THandle* const pPool = RealCreateHandle(threads);
    Fake::Count("pools", pPool != nullptr ? 1 : 0);
    return pPool;
}

void DestroyHandle(_THandle* pPool)
{
    Fake::Count("pools", pPool != nullptr ? -1 : 0);
    RealDestroyHandle(pPool);
}

}  // namespace Kernova::ThreadPool
