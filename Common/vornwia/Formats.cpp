/** Transfer formats: the pairs of format and medium that an item offers. */
#include "Internal.h"

namespace vorn {
namespace {

/** Asks an item for the format enumerator of its generation's transfer interface. */
template <typename Transfer>
HRESULT QueryFormats(WiaItemHandle item, REFIID iid,
                     HRESULT (STDMETHODCALLTYPE Transfer::*enumerate)(IEnumWIA_FORMAT_INFO**),
                     IEnumWIA_FORMAT_INFO** formats)
{
    ComPtr<Transfer> transfer;
    const HRESULT result = AsUnknown(item)->QueryInterface(iid, transfer.OutVoid());
    if (result != S_OK)
        return result;
    return transfer ? (transfer.Get()->*enumerate)(formats) : E_NOINTERFACE;
}

HRESULT FormatsOf(const WiaSession& session, WiaItemHandle item, IEnumWIA_FORMAT_INFO** formats)
{
    return session.wiaVersion == 1
               ? QueryFormats(item, IID_IWiaDataTransfer, &IWiaDataTransfer::idtEnumWIA_FORMAT_INFO, formats)
               : QueryFormats(item, IID_IWiaTransfer, &IWiaTransfer::EnumWIA_FORMAT_INFO, formats);
}

}  // namespace
}  // namespace vorn

using namespace vorn;

int32_t Vorn_WiaEnumFormats(WiaSession* session, WiaItemHandle item, uint32_t, EnumFormatsCallback callback,
                            void* userData)
{
    if (!session || !item || !callback)
        return ERR_INVALID_ARGUMENT;
    uint32_t deviceType = 0;
    if (const int32_t status = Vorn_WiaGetSelectedDeviceType(session, &deviceType); status != SUCCESS)
        return status;

    ComPtr<IEnumWIA_FORMAT_INFO> formats;
    if (const HRESULT result = FormatsOf(*session, item, formats.Out()); result != S_OK)
        return MapWiaResult(result);
    if (!formats)
        return ERR_WIA_UNEXPECTED;

    ULONG count = 0;
    formats->GetCount(&count);
    int32_t status = SUCCESS;
    for (int32_t i = 0; i < static_cast<int32_t>(count) && status != ERR_ABORTED; ++i) {
        WIA_FORMAT_INFO pair{};
        ULONG fetched = 0;
        if (IsPlainSuccess(formats->Next(1, &pair, &fetched)))
            status =
                callback(session, count, static_cast<uint32_t>(pair.lTymed), &pair.guidFormatID, userData);
    }
    return status;
}
