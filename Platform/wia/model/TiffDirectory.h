/**
 * @file TiffDirectory.h
 * The directory of a TIFF page: its fields in the order of their tags, and the values that do not fit into
 * them.
 */
#pragma once

#include <cstdint>
#include <vector>

namespace vorn::wia {

enum class TiffTag : uint16_t {
    NewSubfileType = 254,
    ImageWidth = 256,
    ImageLength = 257,
    BitsPerSample = 258,
    Compression = 259,
    Photometric = 262,
    StripOffsets = 273,
    SamplesPerPixel = 277,
    RowsPerStrip = 278,
    StripByteCounts = 279,
    XResolution = 282,
    YResolution = 283,
    ResolutionUnit = 296,
    Software = 305,
    ColorMap = 320
};

class TiffDirectory {
public:
    enum class Type : uint16_t { Ascii = 2, Short = 3, Long = 4, Rational = 5 };

    /** Adds a field; fields are added in rising order of their tags. A rational is two values, a text
     * one a character, its terminator included. */
    void Add(TiffTag tag, Type type, std::vector<uint32_t> values);
    /** Gives a field other values, as many as it has. */
    void Replace(TiffTag tag, std::vector<uint32_t> values);

    /** Bytes of the directory and the values behind it. */
    uint64_t Size() const noexcept;
    /** Where, in the directory, the pointer to the next one is: 0 until somebody writes it. */
    uint32_t LinkOffset() const noexcept;
    /** The directory for a place `offset` bytes into the file. */
    std::vector<uint8_t> Bytes(uint32_t offset) const;

private:
    struct Field {
        TiffTag tag;
        Type type;
        std::vector<uint32_t> values;

        /** An even number where they do not fit into the field. */
        uint32_t ValueBytes() const noexcept;
    };

    std::vector<Field> fields_;
};

}  // namespace vorn::wia
