#include "Apartment.h"

#include <atomic>

#include "ole.h"

namespace vorn::ole {
namespace {

std::atomic<ULONG> g_apartments{0};  // threads that are in one

/** The calling thread's apartment. A thread that ends without CoUninitialize leaves it all the same. */
class ThreadApartment {
public:
    ~ThreadApartment()
    {
        if (entries_ > 0)
            --g_apartments;
    }

    HRESULT Enter(DWORD model) noexcept
    {
        if (entries_ > 0 && model != model_)
            return RPC_E_CHANGED_MODE;
        model_ = model;
        if (entries_++ > 0)
            return S_FALSE;
        ++g_apartments;
        return S_OK;
    }

    void Leave() noexcept
    {
        if (entries_ > 0 && --entries_ == 0)
            --g_apartments;
    }

private:
    ULONG entries_ = 0;
    DWORD model_ = 0;
};

thread_local ThreadApartment t_apartment;

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
    return vorn::ole::t_apartment.Enter(model & COINIT_APARTMENTTHREADED);
}

HRESULT CoInitialize(void* reserved) noexcept
{
    return CoInitializeEx(reserved, COINIT_APARTMENTTHREADED);
}

void CoUninitialize() noexcept
{
    vorn::ole::t_apartment.Leave();
}
