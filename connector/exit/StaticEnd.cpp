// The end of the objects with static storage in this library file, Asio's error categories and the like
// included, where threads outlive main: like a Singleton, each is destroyed only if nobody is inside the
// library. The linker brings their registrations here (--wrap=__cxa_atexit).
#include <memory>
#include <new>

#include "platform/KernovaXtl.h"

extern "C" int __real___cxa_atexit(void (*pfnDestroy)(void*), void* pObject, void* pLibrary);

namespace {

struct StaticObject {
    void (*pfnDestroy)(void*);
    void* pObject;
};

void DestroyUnlessInside(void* p)
{
    const std::unique_ptr<StaticObject> pStatic(static_cast<StaticObject*>(p));
    if (Kernova::XTL::ExitGate::Close())
        pStatic->pfnDestroy(pStatic->pObject);
}

}  // namespace

extern "C" int __wrap___cxa_atexit(void (*pfnDestroy)(void*), void* pObject, void* pLibrary)
{
    std::unique_ptr<StaticObject> pStatic(new (std::nothrow) StaticObject{pfnDestroy, pObject});
    if (pStatic == nullptr || __real___cxa_atexit(&DestroyUnlessInside, pStatic.get(), pLibrary) != 0)
        return -1;
    (void)pStatic.release();
    return 0;
}
