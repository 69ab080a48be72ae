// Strova and the thread pool: the tests' orders in front of the real ones, whose functions are compiled under
// other names.
#include <set>

#include "platform/Strova.h"
#include "tests/fakeplatform/Parts.h"

namespace {

using Memory = Kernova::MemoryPool::_XMemory;

struct SentStreams {
    std::mutex mutex;
    std::set<const Memory*> setMemories;
};

SentStreams& TheSent() { return Fake::Immortal<SentStreams>(); }

void ExpectUnsent(const Memory* pMemory)
{
    const std::lock_guard lock(TheSent().mutex);
    if (TheSent().setMemories.count(pMemory) != 0)
        Fake::Violation("A stream is used after it has been sent");
}

}  // namespace

namespace Fake {

void NoteSent(const Memory* pMemory)
{
    ExpectUnsent(pMemory);
    const std::lock_guard lock(TheSent().mutex);
    TheSent().setMemories.insert(pMemory);
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
    Fake::Count(&Fake::Counts::nStreams, 1);
    return RealCreateHandle();
}

void DestroyHandle(_THandle* pStream)
{
    if (pStream == nullptr)
        return;
    {
        const std::lock_guard lock(TheSent().mutex);
        TheSent().setMemories.erase(GetXMemory(pStream));
    }
    Fake::Count(&Fake::Counts::nStreams, -1);
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
    Fake::Count(&Fake::Counts::nPools, pPool != nullptr ? 1 : 0);
    return pPool;
}

void DestroyHandle(_THandle* pPool)
{
    Fake::Count(&Fake::Counts::nPools, pPool != nullptr ? -1 : 0);
    RealDestroyHandle(pPool);
}

}  // namespace Kernova::ThreadPool
