#include "Classes.h"

#include <array>
#include <mutex>

#include "Service.h"
#include "v1/DeviceManager.h"
#include "v2/DeviceManager2.h"

#ifndef _WIN32
#include "../ole/ClassTable.h"
#endif

namespace vorn::wia {

namespace {

template <typename Manager, Generation kGeneration>
class ManagerClass final : public ComObject<IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override
    {
        if (!object)
            return E_POINTER;
        *object = nullptr;
        if (outer)
            return CLASS_E_NOAGGREGATION;
        return NoThrow([&] {
            return Service::Instance().IsHidden(kGeneration) ? REGDB_E_CLASSNOTREG
                                                             : MakeComObject<Manager>(iid, object);
        });
    }

    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

using ManagerClass1 = ManagerClass<DeviceManager, Generation::One>;
using ManagerClass2 = ManagerClass<DeviceManager2, Generation::Two>;

struct Registrations {
    std::mutex mutex;
    std::array<DWORD, 2> cookies{};
};

Registrations& Registered()
{
    static Registrations registrations;
    return registrations;
}

HRESULT Register(REFCLSID clsid, HRESULT (*make)(REFIID, void**) noexcept, DWORD& cookie)
{
    if (cookie)
        return S_FALSE;
    ComPtr<IUnknown> factory;
    if (const HRESULT result = make(IID_IUnknown, factory.OutVoid()); FAILED(result))
        return result;
    return CoRegisterClassObject(clsid, factory.Get(), CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                                 REGCLS_MULTIPLEUSE, &cookie);
}

#ifndef _WIN32
// Clients create the managers without any registration, as where they are part of the system.
const bool builtIn = [] {
    ole::RegisterBuiltInClass(CLSID_WiaDevMgr, MakeManagerClass);
    ole::RegisterBuiltInClass(CLSID_WiaDevMgr2, MakeManagerClass2);
    return true;
}();
#endif

}  // namespace

HRESULT MakeManagerClass(REFIID iid, void** object) noexcept
{
    return MakeComObject<ManagerClass1>(iid, object);
}

HRESULT MakeManagerClass2(REFIID iid, void** object) noexcept
{
    return MakeComObject<ManagerClass2>(iid, object);
}

HRESULT RegisterClasses() noexcept
{
    return NoThrow([] {
        Registrations& registered = Registered();
        const std::lock_guard lock{registered.mutex};
        const HRESULT first = Register(CLSID_WiaDevMgr, MakeManagerClass, registered.cookies[0]);
        return FAILED(first) ? first : Register(CLSID_WiaDevMgr2, MakeManagerClass2, registered.cookies[1]);
    });
}

void RevokeClasses() noexcept
{
    Registrations& registered = Registered();
    const std::lock_guard lock{registered.mutex};
    for (DWORD& cookie : registered.cookies) {
        if (cookie)
            CoRevokeClassObject(cookie);
        cookie = 0;
    }
}

}  // namespace vorn::wia
