/**
 * @file BandSink.h
 * Hands an encoded page to a client's IWiaDataCallback, band by band.
 */
#pragma once

#include <vector>

#include "../model/Device.h"
#include "../model/PageEncoder.h"

namespace vorn::wia {

class BandSink final : public PageSink {
public:
    /**
     * @param maximum   bytes of a band
     * @param wholePage  the page goes out as one band, because its parts mean nothing by themselves: all
     *                   formats but DIBs
     */
    BandSink(IWiaDataCallback& callback, const Device& device, uint32_t maximum, bool wholePage) noexcept
        : callback_{callback}, device_{device}, maximum_{maximum}, wholePage_{wholePage}
    {
    }

    HRESULT Begin(uint64_t totalBytes, uint32_t headerBytes) override;
    HRESULT Write(uint64_t offset, const uint8_t* data, uint32_t size, uint32_t percent) override;

    /** Ends a page whose bytes have all been written. */
    HRESULT EndPage();

private:
    HRESULT Send(uint64_t offset, const uint8_t* data, uint64_t size, uint32_t percent);

    IWiaDataCallback& callback_;
    const Device& device_;
    uint32_t maximum_;
    bool wholePage_;
    uint64_t headerBytes_ = 0;
    std::vector<uint8_t> page_;  ///< with `wholePage_` only
};

}  // namespace vorn::wia
