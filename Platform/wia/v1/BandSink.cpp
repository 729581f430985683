#include "BandSink.h"

#include <algorithm>
#include <cstring>

namespace vorn::wia {

namespace {

/** Offsets and lengths of bands are signed 32-bit numbers. */
constexpr uint64_t kLongest = INT32_MAX;

}  // namespace

HRESULT BandSink::Begin(uint64_t totalBytes, uint32_t headerBytes)
{
    headerBytes_ = headerBytes;
    page_.clear();
    if (totalBytes == kUnknownBytes)
        return wholePage_ ? S_OK : E_UNEXPECTED;
    if (totalBytes > kLongest)
        return WIA_ERROR_INCORRECT_HARDWARE_SETTING;
    if (wholePage_)
        page_.resize(static_cast<size_t>(totalBytes));
    return S_OK;
}

HRESULT BandSink::Send(uint64_t offset, const uint8_t* data, uint64_t size, uint32_t percent)
{
    // The platform's method takes a pointer to bytes that it does not write.
    return callback_.BandedDataCallback(IT_MSG_DATA, IT_STATUS_TRANSFER_TO_CLIENT, static_cast<LONG>(percent),
                                        static_cast<LONG>(offset), static_cast<LONG>(size), 0, 0,
                                        const_cast<BYTE*>(data));
}

HRESULT BandSink::Write(uint64_t offset, const uint8_t* data, uint32_t size, uint32_t percent)
{
    if (const auto fault = device_.Pass(Step::Band))
        return fault->result;
    if (wholePage_) {
        if (offset > kLongest || size > kLongest - offset)
            return WIA_ERROR_INCORRECT_HARDWARE_SETTING;
        if (offset + size > page_.size())
            page_.resize(static_cast<size_t>(offset + size));
        std::memcpy(page_.data() + offset, data, size);
        return S_OK;
    }
    // A header is one band whatever its length: a client reads it as a whole.
    const uint32_t band = offset < headerBytes_ ? size : maximum_;
    for (uint32_t sent = 0; sent < size;) {
        const uint32_t length = std::min(band, size - sent);
        if (const HRESULT result = Send(offset + sent, data + sent, length, percent); result != S_OK)
            return result;
        sent += length;
    }
    return S_OK;
}

HRESULT BandSink::EndPage()
{
    return wholePage_ ? Send(0, page_.data(), page_.size(), 100) : S_OK;
}

}  // namespace vorn::wia
