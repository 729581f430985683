/**
 * @file CallbackObjects.h
 * The transfer callback objects as the acquisition owns them: made, registered, released, destroyed.
 */
#pragma once

#include <memory>
#include <new>

#include "../DataCallback.h"
#include "../WiaTransferCallback.h"
#include "Internal.h"

namespace vorn {

struct DataCallbackEnd {
    void operator()(CDataCallback* object) const noexcept { DeleteDataCallback(object); }
};
using DataCallbackPtr = std::unique_ptr<CDataCallback, DataCallbackEnd>;

struct TransferCallbackEnd {
    void operator()(CWiaTransferCallback* object) const noexcept
    {
        object->Release();
        DeleteTransferCallback(object);
    }
};
using TransferCallbackPtr = std::unique_ptr<CWiaTransferCallback, TransferCallbackEnd>;

/** Null without memory, as is the next one. */
inline DataCallbackPtr MakeDataCallback(WiaSession* session, const WCHAR* fileName, uint32_t tymed,
                                        const UserCallback& user) noexcept
{
    DataCallbackPtr object{TrackCallbackObject(new (std::nothrow) CDataCallback{
        session, fileName, tymed, user.toFile, user.acquire, user.file, user.userData})};
    return object && object->IsUsable() ? std::move(object) : nullptr;
}

inline TransferCallbackPtr MakeTransferCallback(WiaSession* session, const WCHAR* reportName,
                                                const WCHAR* streamFileName, uint32_t tymed,
                                                const UserCallback& user) noexcept
{
    const TransferTarget target{session,     reportName,   streamFileName, tymed,
                                user.toFile, user.acquire, user.file,      user.userData};
    TransferCallbackPtr object{TrackCallbackObject(new (std::nothrow) CWiaTransferCallback{target})};
    return object && object->IsUsable() ? std::move(object) : nullptr;
}

/** A folder's download takes its children along. */
constexpr LONG DownloadFlags(LONG itemType) noexcept
{
    return itemType & WiaItemTypeFolder ? WIA_TRANSFER_ACQUIRE_CHILDREN : 0;
}

}  // namespace vorn
