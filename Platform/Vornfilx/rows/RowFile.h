/**
 * @file RowFile.h
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
    uint32_t bitsPerPixel = 0;  ///< 1, 4, 8 or 24
    double xDpi = 0, yDpi = 0;  ///< 0: not known
    const uint8_t* palette =
        nullptr;  ///< entries of 4 bytes: blue, green, red, nothing; null: the ramp of greys
    uint32_t paletteCount = 0;
};

/**
 * A file in the making. Its bytes are appended to a vector that the caller empties whenever it likes. Each
 * operation answers false when memory is short; the file is then lost.
 */
class RowFile {
public:
    virtual ~RowFile() = default;

    /** Everything that precedes the pixels. */
    virtual bool Begin() = 0;

    /**
     * The next rows of the picture from its top down, `stride` bytes from one to the next; negative for a picture
     * that lies bottom up. What they become is appended at once.
     */
    virtual bool WriteRows(const uint8_t* rows, uint32_t count, ptrdiff_t stride) = 0;

    /** What follows the last row. */
    virtual bool End() = 0;
};

/** A JPEG picture is neither wider nor higher. */
constexpr uint32_t kLongestJpegSide = 65500;

/**
 * Grey or colour. Up to 8 bits with a palette of greys become 8 bits of grey, with one in colour 24 bits.
 * @param image    copied, its palette too
 * @param bytes    lent for the life of the file
 * @param quality  1 to 100
 */
std::unique_ptr<RowFile> MakeJpegFile(const RowImage& image, std::vector<uint8_t>& bytes, int quality);

struct PngEffort {
    int level = 2;                ///< of the compression, 0 to 9
    bool filterLikeAbove = true;  ///< levels and colours are written as what differs from the row above
};

/**
 * Of the picture's own depth: grey where the palette is the ramp from black to white, else with the palette.
 * @param image  copied, its palette too
 * @param bytes  lent for the life of the file
 */
std::unique_ptr<RowFile> MakePngFile(const RowImage& image, std::vector<uint8_t>& bytes,
                                     PngEffort effort = {});

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
