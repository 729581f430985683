/**
 * @file ByteWriter.h
 * Builds file headers byte by byte: little-endian whatever the machine, without padding.
 */
#pragma once

#include <cstdint>
#include <vector>

namespace vorn::wia {

class ByteWriter {
public:
    void Put8(uint8_t value) { bytes_.push_back(value); }
    void Put16(uint16_t value) { PutLow(value, 2); }
    void Put32(uint32_t value) { PutLow(value, 4); }
    void PutZeros(size_t count) { bytes_.insert(bytes_.end(), count, uint8_t{0}); }
    void Put(const std::vector<uint8_t>& bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }

    size_t Size() const noexcept { return bytes_.size(); }
    const std::vector<uint8_t>& Bytes() const noexcept { return bytes_; }

private:
    void PutLow(uint32_t value, int count)
    {
        for (int i = 0; i < count; ++i)
            Put8(static_cast<uint8_t>(value >> (8 * i)));
    }

    std::vector<uint8_t> bytes_;
};

}  // namespace vorn::wia
