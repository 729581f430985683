/**
 * @file Transfer.h
 * IWiaTransfer of an item.
 */
#pragma once

#include <atomic>

#include "../faces/Interfaces.h"
#include "../model/Item.h"

namespace vorn::wia {

/** All of the interface but IUnknown. The item outlives it. */
class Transfer : public IWiaTransfer {
public:
    explicit Transfer(Item& item) noexcept : item_{item} {}

    HRESULT STDMETHODCALLTYPE Download(LONG flags, IWiaTransferCallback* callback) override;
    HRESULT STDMETHODCALLTYPE Upload(LONG, IStream*, IWiaTransferCallback*) override { return E_NOTIMPL; }
    /** Ends a download that is under way, from one of its callbacks or from another thread. */
    HRESULT STDMETHODCALLTYPE Cancel() override;
    HRESULT STDMETHODCALLTYPE EnumWIA_FORMAT_INFO(IEnumWIA_FORMAT_INFO** enumerator) override;

protected:
    ~Transfer() = default;
    void Unused() noexcept;

private:
    Item& item_;
    std::atomic<bool> cancelled_{false};
};

}  // namespace vorn::wia
