// Decides at the exit of the process whether the library's objects with static storage are destroyed. The
// library's threads may still run then, if the game has not called UninitModule, and they use such objects:
// ours, and those of header libraries, such as Asio's error categories. Each object is therefore destroyed
// only if no thread is inside the library (ExitGate); otherwise the operating system takes its memory.
//
// The compiler registers every destructor with __cxa_atexit. The linker option --wrap=__cxa_atexit makes
// these calls arrive at __wrap___cxa_atexit below. Linked into the shared library on systems other than
// Windows.
#include <memory>
#include <new>

#include "platform/KernovaXtl.h"

extern "C" int __real___cxa_atexit(void (*pfnDestroy)(void*), void* pObject, void* pLibrary);

namespace {

// A registration: the destructor and its object. Allocated here, freed when it runs.
struct StaticObject {
    void (*pfnDestroy)(void*);
    void* pObject;
};

// Runs at exit, in the reverse order of the registrations, in place of the destructor.
void DestroyUnlessInside(void* p)
{
    const std::unique_ptr<StaticObject> pStatic(static_cast<StaticObject*>(p));
    if (Kernova::XTL::ExitGate::Close())
        pStatic->pfnDestroy(pStatic->pObject);
}

}  // namespace

// Returns 0, or -1 if the registration could not be made; the object is then never destroyed.
extern "C" int __wrap___cxa_atexit(void (*pfnDestroy)(void*), void* pObject, void* pLibrary)
{
    std::unique_ptr<StaticObject> pStatic(new (std::nothrow) StaticObject{pfnDestroy, pObject});
    if (pStatic == nullptr || __real___cxa_atexit(&DestroyUnlessInside, pStatic.get(), pLibrary) != 0)
        return -1;
    (void)pStatic.release();
    return 0;
}
