#include "pixels/Pixels.h"

#include <array>
#include <cstring>

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define VORN_SHUFFLES 1
#include <cpuid.h>
#endif

namespace vorn::fil {
namespace {

constexpr uint32_t kPixelBytes = 3;

void SwapEach(const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept
{
    for (uint32_t i = 0; i < pixels; ++i, from += kPixelBytes, to += kPixelBytes) {
        const uint8_t first = from[0], second = from[1], third = from[2];
        to[0] = third;
        to[1] = second;
        to[2] = first;
    }
}

void PutEach(const uint8_t* from, uint8_t* to, uint32_t pixels, uint32_t channel) noexcept
{
    for (uint32_t i = 0; i < pixels; ++i)
        to[size_t{i} * kPixelBytes + channel] = from[i];
}

#ifdef VORN_SHUFFLES

using Bytes [[gnu::vector_size(16)]] = uint8_t;
constexpr uint32_t kVectorBytes = sizeof(Bytes);

/** Asked of the processor itself: the compiler's own question is put at the start of every program, needed or not. */
bool Shuffles() noexcept
{
    static const bool shuffles = [] {
        unsigned a = 0, b = 0, c = 0, d = 0;
        return __get_cpuid(1, &a, &b, &c, &d) && (c & bit_SSSE3);
    }();
    return shuffles;
}

/** Five pixels fill 15 of the 16 bytes that processors shuffle at once. Byte by byte takes ten times as long. */
[[gnu::target("ssse3")]] void SwapFives(const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept
{
    constexpr Bytes kSwapped = {2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, 15};
    constexpr uint32_t kPixels = 5, kShuffles = 4, kAhead = 512;
    const auto swapFive = [&]() __attribute__((target("ssse3"), always_inline))
    {
        Bytes bytes;
        std::memcpy(&bytes, from, sizeof bytes);
        bytes = __builtin_shuffle(bytes, kSwapped);
        std::memcpy(to, &bytes, sizeof bytes);
        pixels -= kPixels;
        from += kPixels * kPixelBytes;
        to += kPixels * kPixelBytes;
    };
    // The last byte belongs to the next pixel, which has to be there; it stays as it is until its turn comes.
    while (pixels > kPixels * kShuffles) {
        __builtin_prefetch(from + kAhead);  // the memory is slower than the shuffles
        for (uint32_t i = 0; i < kShuffles; ++i)
            swapFive();
    }
    while (pixels > kPixels)
        swapFive();
    SwapEach(from, to, pixels);
}

/** What each byte of 16 pixels is, in three vectors: below 16 the one that is there, from 16 on one of the channel's. */
constexpr std::array<uint8_t, kPixelBytes * kVectorBytes> Merged(uint32_t channel) noexcept
{
    std::array<uint8_t, kPixelBytes * kVectorBytes> merged{};
    for (uint32_t i = 0; i < merged.size(); ++i)
        merged[i] = static_cast<uint8_t>(i % kPixelBytes == channel ? kVectorBytes + i / kPixelBytes
                                                                    : i % kVectorBytes);
    return merged;
}

template <uint32_t kChannel>
[[gnu::target("ssse3")]] void PutSixteens(const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept
{
    static constexpr auto kMerged = Merged(kChannel);
    std::array<Bytes, kPixelBytes> thirds;
    std::memcpy(thirds.data(), kMerged.data(), kMerged.size());
    for (; pixels >= kVectorBytes; pixels -= kVectorBytes, from += kVectorBytes) {
        Bytes channel;
        std::memcpy(&channel, from, sizeof channel);
        for (const Bytes& merged : thirds) {
            Bytes bytes;
            std::memcpy(&bytes, to, sizeof bytes);
            bytes = __builtin_shuffle(bytes, channel, merged);
            std::memcpy(to, &bytes, sizeof bytes);
            to += kVectorBytes;
        }
    }
    PutEach(from, to, pixels, kChannel);
}

#endif

}  // namespace

void SwapRedBlue(const uint8_t* from, uint8_t* to, uint32_t pixels) noexcept
{
#ifdef VORN_SHUFFLES
    if (Shuffles())
        return SwapFives(from, to, pixels);
#endif
    SwapEach(from, to, pixels);
}

void PutChannel(const uint8_t* from, uint8_t* to, uint32_t pixels, uint32_t channel) noexcept
{
#ifdef VORN_SHUFFLES
    constexpr decltype(&PutSixteens<0>) kPuts[] = {PutSixteens<0>, PutSixteens<1>, PutSixteens<2>};
    if (Shuffles())
        return kPuts[channel](from, to, pixels);
#endif
    PutEach(from, to, pixels, channel);
}

void UpperBytes(const uint8_t* from, uint8_t* to, uint64_t samples) noexcept
{
    for (uint64_t i = 0; i < samples; ++i) {
        uint16_t word = 0;
        std::memcpy(&word, from + 2 * i, sizeof word);
        to[i] = static_cast<uint8_t>(word >> 8);
    }
}

void CmykToBgr(const uint8_t* from, uint8_t* to, uint32_t pixels, bool inverted) noexcept
{
    const uint32_t flip = inverted ? 0 : 255;
    for (uint32_t x = 0; x < pixels; ++x, from += 4, to += kPixelBytes) {
        const uint32_t red = from[0] ^ flip, green = from[1] ^ flip, blue = from[2] ^ flip,
                       black = from[3] ^ flip;
        to[0] = static_cast<uint8_t>(blue * black / 255);
        to[1] = static_cast<uint8_t>(green * black / 255);
        to[2] = static_cast<uint8_t>(red * black / 255);
    }
}

}  // namespace vorn::fil
