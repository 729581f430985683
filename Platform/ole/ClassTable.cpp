#include "ClassTable.h"

#include <algorithm>
#include <mutex>
#include <vector>

#include "Apartment.h"
#include "com.h"
#include "comobject.h"

namespace vorn::ole {
namespace {

struct BuiltInClass {
    CLSID clsid;
    ClassObjectMaker maker;
};

struct Announcement {
    DWORD cookie;
    CLSID clsid;
    bool once;  // serves one request
    bool used;
    ComPtr<IUnknown> object;
};

/** All classes of the process. Calls into class objects are made outside the lock. */
class ClassTable {
public:
    /** Never destroyed: classes may be asked for and revoked while static objects are. */
    static ClassTable& Instance()
    {
        static auto* table = new ClassTable;
        return *table;
    }

    void AddBuiltIn(const BuiltInClass& added)
    {
        const std::lock_guard lock{mutex_};
        std::erase_if(builtIn_, [&](const BuiltInClass& known) { return known.clsid == added.clsid; });
        builtIn_.push_back(added);
    }

    DWORD Announce(REFCLSID clsid, IUnknown* object, bool once)
    {
        const std::lock_guard lock{mutex_};
        announced_.push_back({nextCookie_, clsid, once, false, ComPtr<IUnknown>{object}});
        return nextCookie_++;
    }

    /** Null when the cookie is not in force. */
    ComPtr<IUnknown> Revoke(DWORD cookie)
    {
        const std::lock_guard lock{mutex_};
        const auto found = std::find_if(announced_.begin(), announced_.end(),
                                        [&](const Announcement& entry) { return entry.cookie == cookie; });
        if (found == announced_.end())
            return nullptr;
        ComPtr<IUnknown> object = std::move(found->object);
        announced_.erase(found);
        return object;
    }

    ComPtr<IUnknown> FindAnnounced(REFCLSID clsid)
    {
        const std::lock_guard lock{mutex_};
        const auto found = std::find_if(
            announced_.rbegin(), announced_.rend(),
            [&](const Announcement& entry) { return entry.clsid == clsid && !(entry.once && entry.used); });
        if (found == announced_.rend())
            return nullptr;
        found->used = true;
        return found->object;
    }

    ClassObjectMaker FindBuiltIn(REFCLSID clsid)
    {
        const std::lock_guard lock{mutex_};
        for (const BuiltInClass& known : builtIn_) {
            if (known.clsid == clsid)
                return known.maker;
        }
        return nullptr;
    }

private:
    std::mutex mutex_;
    std::vector<BuiltInClass> builtIn_;
    std::vector<Announcement> announced_;
    DWORD nextCookie_ = 1;
};

HRESULT GetClassObject(REFCLSID clsid, REFIID iid, void** object)
{
    ClassTable& table = ClassTable::Instance();
    if (const ComPtr<IUnknown> announced = table.FindAnnounced(clsid))
        return announced->QueryInterface(iid, object);
    if (const ClassObjectMaker maker = table.FindBuiltIn(clsid))
        return maker(iid, object);
    return REGDB_E_CLASSNOTREG;
}

}  // namespace

void RegisterBuiltInClass(REFCLSID clsid, ClassObjectMaker maker)
{
    ClassTable::Instance().AddBuiltIn({clsid, maker});
}

}  // namespace vorn::ole

using namespace vorn;

HRESULT CoGetClassObject(REFCLSID clsid, DWORD, void* reserved, REFIID iid, void** object) noexcept
{
    if (!object || reserved)
        return E_INVALIDARG;
    *object = nullptr;
    if (!ole::ProcessHasApartment())
        return CO_E_NOTINITIALIZED;
    return NoThrow([&] { return ole::GetClassObject(clsid, iid, object); });
}

HRESULT CoCreateInstance(REFCLSID clsid, IUnknown* outer, DWORD context, REFIID iid, void** object) noexcept
{
    if (!object)
        return E_POINTER;
    *object = nullptr;
    ComPtr<IClassFactory> factory;
    const HRESULT result = CoGetClassObject(clsid, context, nullptr, IID_IClassFactory, factory.OutVoid());
    if (FAILED(result))
        return result;
    return NoThrow([&] { return factory->CreateInstance(outer, iid, object); });
}

HRESULT CoRegisterClassObject(REFCLSID clsid, IUnknown* object, DWORD, DWORD flags, DWORD* cookie) noexcept
{
    if (!object || !cookie || flags > REGCLS_MULTI_SEPARATE)
        return E_INVALIDARG;
    *cookie = 0;
    if (!ole::ProcessHasApartment())
        return CO_E_NOTINITIALIZED;
    return NoThrow([&] {
        *cookie = ole::ClassTable::Instance().Announce(clsid, object, flags == REGCLS_SINGLEUSE);
        return S_OK;
    });
}

HRESULT CoRevokeClassObject(DWORD cookie) noexcept
{
    return NoThrow([&] { return ole::ClassTable::Instance().Revoke(cookie) ? S_OK : E_INVALIDARG; });
}
