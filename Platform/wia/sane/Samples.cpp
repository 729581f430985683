#include "Samples.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "pixels/Pixels.h"

namespace vorn::wia {

namespace {

void ClearPadding(uint8_t* row, size_t bytes) noexcept
{
    const size_t padded = (bytes + 3) / 4 * 4;
    std::memset(row + bytes, 0, padded - bytes);
}

/** SANE's set bits are black, those of a DIB with the usual palette white. */
void OneBit(const uint8_t* line, uint8_t* row, uint32_t pixels)
{
    const size_t bytes = (size_t{pixels} + 7) / 8;
    for (size_t i = 0; i < bytes; ++i)
        row[i] = static_cast<uint8_t>(~line[i]);
    if (pixels % 8 != 0)
        row[bytes - 1] &= static_cast<uint8_t>(0xFF00u >> (pixels % 8));
    ClearPadding(row, bytes);
}

void Gray8(const uint8_t* line, uint8_t* row, uint32_t pixels)
{
    std::memcpy(row, line, pixels);
    ClearPadding(row, pixels);
}

void Gray16(const uint8_t* line, uint8_t* row, uint32_t pixels)
{
    fil::UpperBytes(line, row, pixels);
    ClearPadding(row, pixels);
}

void Color8(const uint8_t* line, uint8_t* row, uint32_t pixels)
{
    fil::SwapRedBlue(line, row, pixels);
    ClearPadding(row, 3 * size_t{pixels});
}

void Color16(const uint8_t* line, uint8_t* row, uint32_t pixels)
{
    fil::UpperBytes(line, row, 3 * uint64_t{pixels});
    fil::SwapRedBlue(row, row, pixels);
    ClearPadding(row, 3 * size_t{pixels});
}

uint8_t Bit(const uint8_t* bits, size_t i) noexcept
{
    return bits[i / 8] >> (7 - i % 8) & 1 ? 0xFF : 0;
}

/** Eight pixels are a byte of red, one of green and one of blue; set bits are bright. */
void Color1(const uint8_t* line, uint8_t* row, uint32_t pixels)
{
    for (size_t i = 0; i < pixels; ++i) {
        const uint8_t* const group = line + i / 8 * 3;
        row[3 * i] = Bit(group + 2, i % 8);
        row[3 * i + 1] = Bit(group + 1, i % 8);
        row[3 * i + 2] = Bit(group, i % 8);
    }
    ClearPadding(row, 3 * size_t{pixels});
}

// A frame of one colour: the byte of that colour in each pixel, 2 for red.

template <size_t kChannel>
void One1(const uint8_t* line, uint8_t* row, uint32_t pixels)
{
    for (size_t i = 0; i < pixels; ++i)
        row[3 * i + kChannel] = Bit(line, i);
}

template <size_t kChannel>
void One8(const uint8_t* line, uint8_t* row, uint32_t pixels)
{
    fil::PutChannel(line, row, pixels, kChannel);
}

template <size_t kChannel>
void One16(const uint8_t* line, uint8_t* row, uint32_t pixels)
{
    std::array<uint8_t, 256> piece;
    for (uint32_t done = 0; done < pixels; done += piece.size()) {
        const auto count = std::min(static_cast<uint32_t>(piece.size()), pixels - done);
        fil::UpperBytes(line + 2 * size_t{done}, piece.data(), count);
        fil::PutChannel(piece.data(), row + 3 * size_t{done}, count, kChannel);
    }
}

constexpr LineFormat kFormats[] = {
    {SANE_FRAME_GRAY, 1, 1, 1, OneBit},      {SANE_FRAME_GRAY, 8, 8, 8, Gray8},
    {SANE_FRAME_GRAY, 16, 8, 16, Gray16},    {SANE_FRAME_RGB, 1, 24, 3, Color1},
    {SANE_FRAME_RGB, 8, 24, 24, Color8},     {SANE_FRAME_RGB, 16, 24, 48, Color16},
    {SANE_FRAME_RED, 1, 24, 1, One1<2>},     {SANE_FRAME_RED, 8, 24, 8, One8<2>},
    {SANE_FRAME_RED, 16, 24, 16, One16<2>},  {SANE_FRAME_GREEN, 1, 24, 1, One1<1>},
    {SANE_FRAME_GREEN, 8, 24, 8, One8<1>},   {SANE_FRAME_GREEN, 16, 24, 16, One16<1>},
    {SANE_FRAME_BLUE, 1, 24, 1, One1<0>},    {SANE_FRAME_BLUE, 8, 24, 8, One8<0>},
    {SANE_FRAME_BLUE, 16, 24, 16, One16<0>},
};

}  // namespace

const LineFormat* LineFormatOf(SANE_Frame frame, SANE_Int depth) noexcept
{
    for (const LineFormat& format : kFormats) {
        if (format.frame == frame && format.depth == depth)
            return &format;
    }
    return nullptr;
}

}  // namespace vorn::wia
