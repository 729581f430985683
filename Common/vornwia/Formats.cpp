/** Transfer formats: the pairs of format and medium that an item offers. */
#include "Internal.h"

namespace vorn {
namespace {

/** Calls `use` with the format enumerator of an item's transfer interface, which is held as long. */
template <typename Transfer, typename Use>
int32_t WithFormats(WiaItemHandle item, REFIID iid,
                    HRESULT (STDMETHODCALLTYPE Transfer::*enumerate)(IEnumWIA_FORMAT_INFO**), Use use)
{
    ComPtr<Transfer> transfer;
    if (const HRESULT result = AsUnknown(item)->QueryInterface(iid, transfer.OutVoid()); result != S_OK)
        return MapWiaResult(result);
    if (!transfer)
        return ERR_WIA_UNEXPECTED;
    ComPtr<IEnumWIA_FORMAT_INFO> formats;
    if (const HRESULT result = (transfer.Get()->*enumerate)(formats.Out()); result != S_OK)
        return MapWiaResult(result);
    return formats ? use(*formats.Get()) : ERR_WIA_UNEXPECTED;
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

    const auto deliver = [&](IEnumWIA_FORMAT_INFO& formats) {
        ULONG count = 0;
        formats.GetCount(&count);
        int32_t status = SUCCESS;
        for (int32_t i = 0; i < static_cast<int32_t>(count) && status != ERR_ABORTED; ++i) {
            WIA_FORMAT_INFO pair{};
            ULONG fetched = 0;
            if (IsPlainSuccess(formats.Next(1, &pair, &fetched)))
                status = callback(session, count, static_cast<uint32_t>(pair.lTymed), &pair.guidFormatID,
                                  userData);
        }
        return status;
    };
    return session->wiaVersion == 1
               ? WithFormats(item, IID_IWiaDataTransfer, &IWiaDataTransfer::idtEnumWIA_FORMAT_INFO, deliver)
               : WithFormats(item, IID_IWiaTransfer, &IWiaTransfer::EnumWIA_FORMAT_INFO, deliver);
}
