/**
 * @file BigEndian.h
 * Numbers in byte arrays, highest byte first, and the checksum of PNG files.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace vorn::fil {

constexpr uint32_t BigEndian16(const uint8_t* at) noexcept
{
    return static_cast<uint32_t>(at[0] << 8 | at[1]);
}

constexpr uint32_t BigEndian32(const uint8_t* at) noexcept
{
    return BigEndian16(at) << 16 | BigEndian16(at + 2);
}

namespace detail {
constexpr std::array<uint32_t, 256> MakeCrcTable() noexcept
{
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < table.size(); ++i) {
        uint32_t crc = i;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
        table[i] = crc;
    }
    return table;
}
inline constexpr std::array<uint32_t, 256> kCrcTable = MakeCrcTable();
}  // namespace detail

/** The CRC-32 of data that follows data with the checksum `before`; 0 for the first. */
constexpr uint32_t Crc32(uint32_t before, const uint8_t* data, size_t count) noexcept
{
    uint32_t crc = ~before;
    for (size_t i = 0; i < count; ++i)
        crc = crc >> 8 ^ detail::kCrcTable[(crc ^ data[i]) & 0xFF];
    return ~crc;
}

}  // namespace vorn::fil
