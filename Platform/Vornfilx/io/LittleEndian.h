/**
 * @file io/LittleEndian.h
 * Numbers in byte arrays, lowest byte first.
 */
#pragma once

#include <cstdint>

namespace vorn::fil {

constexpr uint16_t GetU16(const uint8_t* at) noexcept
{
    return static_cast<uint16_t>(at[0] | at[1] << 8);
}

constexpr uint32_t GetU32(const uint8_t* at) noexcept
{
    return GetU16(at) | uint32_t{GetU16(at + 2)} << 16;
}

constexpr int32_t GetI32(const uint8_t* at) noexcept
{
    return static_cast<int32_t>(GetU32(at));
}

constexpr void PutU16(uint8_t* at, uint32_t value) noexcept
{
    at[0] = static_cast<uint8_t>(value);
    at[1] = static_cast<uint8_t>(value >> 8);
}

constexpr void PutU32(uint8_t* at, uint32_t value) noexcept
{
    PutU16(at, value & 0xFFFF);
    PutU16(at + 2, value >> 16);
}

}  // namespace vorn::fil
