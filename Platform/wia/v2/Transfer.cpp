#include "Transfer.h"

#include "../faces/Capabilities.h"
#include "../faces/Faulty.h"
#include "../model/CallLog.h"
#include "StreamTransfer.h"

namespace vorn::wia {

HRESULT Transfer::Download(LONG flags, IWiaTransferCallback* callback)
{
    if (!callback)
        return E_INVALIDARG;
    return NoThrow([&] {
        LogCall([&] { return LogText(item_.Name()) + ".Download " + std::to_string(flags); });
        if (const auto result = Interrupted(item_.Tree().Device(), Step::Transfer))
            return *result;
        const ComPtr<IWiaTransfer> alive{this};
        const ComPtr<IWiaTransferCallback> callbackAlive{callback};
        cancelled_ = false;
        if (const auto& script = item_.Definition().download)
            return script(flags, callback);
        return StreamTransfer{*callback, cancelled_}.Run(item_, (flags & WIA_TRANSFER_ACQUIRE_CHILDREN) != 0);
    });
}

HRESULT Transfer::Cancel()
{
    LogCall([&] { return LogText(item_.Name()) + ".Cancel"; });
    cancelled_ = true;
    return S_OK;
}

HRESULT Transfer::EnumWIA_FORMAT_INFO(IEnumWIA_FORMAT_INFO** enumerator)
{
    LogCall([&] { return LogText(item_.Name()) + ".EnumWIA_FORMAT_INFO"; });
    return EnumerateFormats(item_, enumerator);
}

void Transfer::Unused() noexcept
{
    LogCall([&] { return LogText(item_.Name()) + ".ReleaseTransfer"; });
}

}  // namespace vorn::wia
