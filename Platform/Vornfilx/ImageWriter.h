/**
 * @file ImageWriter.h
 * An image file of a format that compresses, written row by row: what the file library's codecs and the devices of
 * the image-acquisition service have in common.
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

namespace vorn::fil {

/** A picture as a DIB has it, colours as blue, green, red. */
struct RowImage {
    uint32_t width = 0, height = 0;
    uint32_t bitsPerPixel = 0;  ///< 1, 4, 8, 24, or 32, whose fourth byte is not written
    double xDpi = 0, yDpi = 0;  ///< 0: not known
    const uint8_t* palette =
        nullptr;  ///< entries of 4 bytes: blue, green, red, nothing; null: the ramp of greys
    uint32_t paletteCount = 0;
};

/**
 * A file in the making. Its bytes are appended to a vector that the caller empties whenever it likes. Each
 * operation answers false when memory is short; the file is then lost.
 */
class ImageWriter {
public:
    virtual ~ImageWriter() = default;

    /** Everything that precedes the pixels. */
    virtual bool Begin() = 0;

    /**
     * The next rows of the picture from its top down, `stride` bytes from one to the next; negative for a picture
     * that lies bottom up. What they become is appended as soon as the codec has it.
     */
    virtual bool WriteRows(const uint8_t* rows, uint32_t count, ptrdiff_t stride) = 0;

    /** Makes the codec append what it holds back of the rows so far, at the price of a slightly larger file. */
    virtual bool Flush() = 0;

    /** What follows the last row. */
    virtual bool End() = 0;
};

/** A JPEG picture is neither wider nor higher. */
constexpr uint32_t kLongestJpegSide = 65500;

/**
 * Grey or colour; from quality 90 on colours have the full resolution, below half of it. Up to 8 bits with a palette of greys become 8 bits of grey, with one in colour 24 bits.
 * @param image    copied, its palette too
 * @param bytes    lent for the life of the file
 * @param quality  1 to 100
 */
std::unique_ptr<ImageWriter> CreateJpegWriter(const RowImage& image, std::vector<uint8_t>& bytes,
                                              int quality);

/** How rows are prepared: written as what differs from a neighbour. */
enum class PngFilter {
    None,
    Up,     ///< from the row above
    Paeth,  ///< from the neighbour that is nearest to what three of them foretell
    Best,   ///< from that which seems best, row by row
    Usual   ///< what the codec does of its own: Best for levels and colours, else None
};

/** How repetitions are looked for. */
enum class PngSearch {
    Thorough,  ///< as the codec does of its own, with a level
    Runs       ///< of single bytes only: fast
};

struct PngStrategy {
    PngFilter filter = PngFilter::Up;
    PngSearch search = PngSearch::Thorough;
    int level = 2;  ///< of a thorough search, 0 to 9
};

/**
 * Of the picture's own depth: grey where the palette is the ramp from black to white, else with the palette.
 * @param image  copied, its palette too
 * @param bytes  lent for the life of the file
 */
std::unique_ptr<ImageWriter> CreatePngWriter(const RowImage& image, std::vector<uint8_t>& bytes,
                                             PngStrategy strategy = {});

/** The palette of up to 8 bits with all its 2^bits entries of 4 bytes; past its end black. */
std::vector<uint8_t> WholePalette(const RowImage& image);

/** True for the whole ramp from black to white, which needs no palette. */
bool IsGreyRamp(const std::vector<uint8_t>& wholePalette) noexcept;

/** Appends to the bytes of a file; false when memory is short. For codecs written in C. */
inline bool TryAppend(std::vector<uint8_t>& bytes, const uint8_t* data, size_t count) noexcept
try {
    bytes.insert(bytes.end(), data, data + count);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

}  // namespace vorn::fil
