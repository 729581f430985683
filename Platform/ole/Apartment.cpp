#include "Apartment.h"

#include <pthread.h>

#include <atomic>

#include "ole.h"

namespace vorn::ole {
namespace {

std::atomic<ULONG> g_apartments{0};  // threads that are in one

/** The calling thread's apartment. It has no destructor: the C library ends a process that it cannot register one for. */
struct ThreadApartment {
    ULONG entries = 0;
    DWORD model = 0;
};

constinit thread_local ThreadApartment t_apartment;

void Leave(ThreadApartment& apartment) noexcept
{
    if (apartment.entries > 0 && --apartment.entries == 0)
        --g_apartments;
}

/** A thread that ends without CoUninitialize leaves its apartment all the same. */
bool LeaveAtThreadEnd() noexcept
{
    struct Key {
        pthread_key_t key = 0;
        bool made = pthread_key_create(&key, [](void* apartment) {
                        auto& left = *static_cast<ThreadApartment*>(apartment);
                        left.entries = left.entries > 0 ? 1 : 0;
                        Leave(left);
                    }) == 0;
    };
    static const Key key;
    return key.made && pthread_setspecific(key.key, &t_apartment) == 0;
}

HRESULT Enter(ThreadApartment& apartment, DWORD model) noexcept
{
    if (apartment.entries > 0 && model != apartment.model)
        return RPC_E_CHANGED_MODE;
    if (apartment.entries == 0) {
        if (!LeaveAtThreadEnd())
            return E_OUTOFMEMORY;
        ++g_apartments;
    }
    apartment.model = model;
    return apartment.entries++ > 0 ? S_FALSE : S_OK;
}

constexpr DWORD kKnownFlags =
    DWORD{COINIT_APARTMENTTHREADED} | DWORD{COINIT_DISABLE_OLE1DDE} | DWORD{COINIT_SPEED_OVER_MEMORY};

}  // namespace

bool ProcessHasApartment() noexcept
{
    return g_apartments > 0;
}

}  // namespace vorn::ole

HRESULT CoInitializeEx(void* reserved, DWORD model) noexcept
{
    if (reserved || model & ~vorn::ole::kKnownFlags)
        return E_INVALIDARG;
    return vorn::ole::Enter(vorn::ole::t_apartment, model & COINIT_APARTMENTTHREADED);
}

HRESULT CoInitialize(void* reserved) noexcept
{
    return CoInitializeEx(reserved, COINIT_APARTMENTTHREADED);
}

void CoUninitialize() noexcept
{
    vorn::ole::Leave(vorn::ole::t_apartment);
}
