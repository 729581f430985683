/**
 * @file TiffFields.h
 * The fields of a TIFF page's directory: their tags and types, and a writer for them.
 */
#pragma once

#include <vector>

#include "TiffNumbers.h"

namespace vorn::fil::tiff {

enum class Tag : uint16_t {
    ImageWidth = 256,
    ImageLength = 257,
    BitsPerSample = 258,
    Compression = 259,
    Photometric = 262,
    StripOffsets = 273,
    Orientation = 274,
    SamplesPerPixel = 277,
    RowsPerStrip = 278,
    StripByteCounts = 279,
    XResolution = 282,
    YResolution = 283,
    PlanarConfiguration = 284,
    ResolutionUnit = 296,
    Software = 305,
    ColorMap = 320
};

enum class Type : uint16_t { Text = 2, Short = 3, Long = 4, Rational = 5, Long8 = 16 };

/** Bytes of one number of a field; a rational is two. */
constexpr uint32_t NumberBytes(Type type) noexcept
{
    return type == Type::Text ? 1 : type == Type::Short ? 2 : type == Type::Long8 ? 8 : 4;
}

/** Builds a directory for a place in a file. May throw std::bad_alloc. */
class FieldWriter {
public:
    /** `valuesAt`: where in the file the values go that do not fit into their fields. */
    FieldWriter(const Widths& widths, bool bigEndian, uint64_t valuesAt)
        : widths_{widths}, bigEndian_{bigEndian}, valuesAt_{valuesAt}
    {
    }

    /** Adds a field; fields are added in rising order of their tags. */
    void Add(Tag tag, Type type, const std::vector<uint64_t>& numbers);

    /** The values, followed by the directory, which is the chain's last. */
    std::vector<uint8_t> Bytes() const;
    uint64_t DirectoryOffset() const noexcept { return valuesAt_ + values_.size(); }

private:
    void Put(std::vector<uint8_t>& to, uint64_t number, uint32_t bytes) const;

    Widths widths_;
    bool bigEndian_;
    uint64_t valuesAt_;
    uint64_t count_ = 0;
    std::vector<uint8_t> fields_;
    std::vector<uint8_t> values_;
};

}  // namespace vorn::fil::tiff
