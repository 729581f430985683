#include "DataTransfer.h"

#include <algorithm>

#include "../faces/Capabilities.h"
#include "../faces/Faulty.h"
#include "../model/CallLog.h"
#include "../model/FileNames.h"
#include "BandedTransfer.h"

namespace vorn::wia {

namespace {

constexpr uint32_t kDefaultBufferBytes = 65536;

uint32_t BufferBytes(const Item& item) noexcept
{
    const LONG bytes = item.Properties().Long(WIA_IPA_BUFFER_SIZE);
    return bytes > 0 ? static_cast<uint32_t>(bytes) : kDefaultBufferBytes;
}

/** A name for a client that has given none, in task memory. */
LPOLESTR PickFileName(const Item& item)
{
    const WString name =
        FreeFileName(TempFolder(), VORN_TEXT("WIA"), ExtensionOf(item.Properties().Guid(WIA_IPA_FORMAT)));
    auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc((name.size() + 1) * sizeof(OLECHAR)));
    if (copy)
        std::copy_n(name.c_str(), name.size() + 1, copy);
    return copy;
}

HRESULT GetFile(Item& item, STGMEDIUM& medium, IWiaDataCallback* callback)
{
    if (medium.tymed != TYMED_FILE && medium.tymed != TYMED_MULTIPAGE_FILE)
        return DV_E_TYMED;
    if (medium.lpszFileName)
        return TransferToFile(item, static_cast<LONG>(medium.tymed), medium.lpszFileName, callback);

    LPOLESTR name = PickFileName(item);
    if (!name)
        return E_OUTOFMEMORY;
    const HRESULT result = TransferToFile(item, static_cast<LONG>(medium.tymed), name, callback);
    if (result == S_OK)
        medium.lpszFileName = name;
    else
        CoTaskMemFree(name);
    return result;
}

}  // namespace

HRESULT DataTransfer::idtGetData(LPSTGMEDIUM medium, IWiaDataCallback* callback)
{
    if (!medium)
        return E_INVALIDARG;
    return NoThrow([&] {
        LogCall([&] { return LogText(item_.Name()) + ".idtGetData " + std::to_string(medium->tymed); });
        if (const auto result = Interrupted(item_.Tree().Device(), Step::Transfer))
            return *result;
        const ComPtr<IWiaDataTransfer> alive{this};
        const ComPtr<IWiaDataCallback> callbackAlive{callback};
        const auto& script = item_.Definition().file;
        return script ? script(callback, *medium) : GetFile(item_, *medium, callback);
    });
}

HRESULT DataTransfer::idtGetBandedData(PWIA_DATA_TRANSFER_INFO info, IWiaDataCallback* callback)
{
    if (!info || !callback || info->ulSize != sizeof *info)
        return E_INVALIDARG;
    return NoThrow([&] {
        LogCall([&] {
            return LogText(item_.Name()) + ".idtGetBandedData " + std::to_string(info->ulBufferSize) + " " +
                   std::to_string(info->bDoubleBuffer);
        });
        if (const auto result = Interrupted(item_.Tree().Device(), Step::Transfer))
            return *result;
        const ComPtr<IWiaDataTransfer> alive{this};
        const ComPtr<IWiaDataCallback> callbackAlive{callback};
        if (const auto& script = item_.Definition().banded)
            return script(callback, *info);
        return TransferBanded(item_, info->ulBufferSize ? info->ulBufferSize : BufferBytes(item_), *callback);
    });
}

HRESULT DataTransfer::idtQueryGetData(WIA_FORMAT_INFO* format)
{
    if (!format)
        return E_INVALIDARG;
    const auto& formats = item_.Definition().formats;
    const bool offered = std::any_of(formats.begin(), formats.end(), [&](const WIA_FORMAT_INFO& pair) {
        return pair.lTymed == format->lTymed && IsEqualGUID(pair.guidFormatID, format->guidFormatID);
    });
    return offered ? S_OK : E_INVALIDARG;
}

HRESULT DataTransfer::idtEnumWIA_FORMAT_INFO(IEnumWIA_FORMAT_INFO** enumerator)
{
    LogCall([&] { return LogText(item_.Name()) + ".idtEnumWIA_FORMAT_INFO"; });
    return EnumerateFormats(item_, enumerator);
}

HRESULT DataTransfer::idtGetExtendedTransferInfo(PWIA_EXTENDED_TRANSFER_INFO info)
{
    if (!info || info->ulSize < sizeof *info)
        return E_INVALIDARG;
    const uint32_t bytes = BufferBytes(item_);
    *info = {sizeof *info, bytes, bytes, INT32_MAX, 2};
    return S_OK;
}

void DataTransfer::Unused() noexcept
{
    LogCall([&] { return LogText(item_.Name()) + ".ReleaseTransfer"; });
}

}  // namespace vorn::wia
