/**
 * @file DataTransfer.h
 * IWiaDataTransfer of an item: into memory in bands, or into a file.
 */
#pragma once

#include "../faces/Interfaces.h"
#include "../model/Item.h"

namespace vorn::wia {

/** All of the interface but IUnknown. The item outlives it. */
class DataTransfer : public IWiaDataTransfer {
public:
    explicit DataTransfer(Item& item) noexcept : item_{item} {}

    HRESULT STDMETHODCALLTYPE idtGetData(LPSTGMEDIUM medium, IWiaDataCallback* callback) override;
    HRESULT STDMETHODCALLTYPE idtGetBandedData(PWIA_DATA_TRANSFER_INFO info,
                                               IWiaDataCallback* callback) override;
    HRESULT STDMETHODCALLTYPE idtQueryGetData(WIA_FORMAT_INFO* format) override;
    HRESULT STDMETHODCALLTYPE idtEnumWIA_FORMAT_INFO(IEnumWIA_FORMAT_INFO** enumerator) override;
    HRESULT STDMETHODCALLTYPE idtGetExtendedTransferInfo(PWIA_EXTENDED_TRANSFER_INFO info) override;

protected:
    ~DataTransfer() = default;
    void Unused() noexcept;

private:
    Item& item_;
};

}  // namespace vorn::wia
