/** Sessions: creation, end, the availability test, the selected device's ID. */
#include "Internal.h"

namespace vorn {
namespace {

template <typename Interface>
void ReleaseField(WiaSession* session, Interface* WiaSession::*field)
{
    if (Interface* held = session->*field) {
        session->*field = nullptr;
        held->Release();
    }
}

void LeaveApartment(const WiaSession& session)
{
    if (session.comInitialized)
        CoUninitialize();
}

/** Stores the device manager of the session's generation; false when the platform has none. */
bool HoldDeviceManager(WiaSession* session)
{
    void* manager = nullptr;
    CreateDeviceManager(session->wiaVersion, &manager);
    if (session->wiaVersion == 1)
        session->deviceManager = static_cast<IWiaDevMgr*>(manager);
    else
        session->deviceManager2 = static_cast<IWiaDevMgr2*>(manager);
    return manager != nullptr;
}

}  // namespace

HRESULT CreateDeviceManager(uint32_t version, void** manager) noexcept
{
    switch (version) {
        case 1:
            return CoCreateInstance(CLSID_WiaDevMgr, nullptr, CLSCTX_LOCAL_SERVER, IID_IWiaDevMgr, manager);
        case 2:
            return CoCreateInstance(CLSID_WiaDevMgr2, nullptr, CLSCTX_LOCAL_SERVER, IID_IWiaDevMgr2, manager);
        default:
            return S_OK;
    }
}

bool HasSelectedDevice(const WiaSession& session) noexcept
{
    return RootItemOf(session) != nullptr;
}

int32_t CheckSelectedDevice(const WiaSession* session) noexcept
{
    if (!session)
        return ERR_INVALID_ARGUMENT;
    return HasSelectedDevice(*session) ? SUCCESS : ERR_NO_DEVICE_SELECTED;
}

WiaItemHandle RootItemOf(const WiaSession& session) noexcept
{
    return session.wiaVersion == 1 ? reinterpret_cast<WiaItemHandle>(session.rootItem)
                                   : reinterpret_cast<WiaItemHandle>(session.rootItem2);
}

}  // namespace vorn

using namespace vorn;

int32_t Vorn_WiaInitSession(uint32_t version, WiaSession** session)
{
    if (!session)
        return ERR_INVALID_ARGUMENT;
    if (version != 1 && version != 2)
        return ERR_INVALID_WIA_VERSION;

    auto* created = static_cast<WiaSession*>(KrnAlloc(1, sizeof(WiaSession), VORN_HERE));
    if (!created)
        return ERR_OUT_OF_MEMORY;
    KrnMemSet(created, 0, sizeof(WiaSession));
    created->structSize = sizeof(WiaSession);
    created->comInitialized = CoInitialize(nullptr) >= 0 ? 1 : 0;
    created->wiaVersion = version;

    if (!HoldDeviceManager(created)) {
        LeaveApartment(*created);
        KrnFree(created, VORN_HERE);
        *session = nullptr;
        return RESULT_FALSE;
    }
    *session = created;
    return SUCCESS;
}

int32_t Vorn_WiaEndSession(WiaSession* session)
{
    if (!session)
        return ERR_INVALID_ARGUMENT;

    // The root items go before the managers that made them: out of process, a manager may take its device
    // along.
    SysFreeString(session->selectedDeviceId);
    session->selectedDeviceId = nullptr;
    ReleaseField(session, &WiaSession::rootItem);
    ReleaseField(session, &WiaSession::rootItem2);
    ReleaseField(session, &WiaSession::deviceManager);
    ReleaseField(session, &WiaSession::videoPreview);
    ReleaseField(session, &WiaSession::deviceManager2);

    LeaveApartment(*session);
    KrnFree(session, VORN_HERE);
    return SUCCESS;
}

int32_t Vorn_WiaIsAvailable(uint32_t version)
{
    WiaSession* session = nullptr;
    if (Vorn_WiaInitSession(version, &session) != SUCCESS)
        return RESULT_FALSE;
    Vorn_WiaEndSession(session);
    return SUCCESS;
}

const WCHAR* Vorn_WiaGetSelectedDevice(WiaSession* session)
{
    return session ? session->selectedDeviceId : nullptr;
}
