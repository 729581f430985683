/**
 * @file Codec.h
 * What a file format can do. One codec a format; they hold no state.
 */
#pragma once

#include <array>
#include <span>

#include "io/Buffer.h"
#include "io/File.h"
#include "pixels/PageRows.h"

namespace vorn::fil {

constexpr uint32_t kPaletteEntryBytes = 4;

/** What a page's header tells. */
struct PageInfo {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t bitsPerPixel = 0;  ///< as a load delivers them
    uint32_t storedBits = 0;    ///< as they are in the file
    uint32_t viewPerspective = KRN_VIEW_BOTTOM_LEFT;
    double xDpi = 0;
    double yDpi = 0;
    uint32_t paletteCount = 0;
    std::array<uint8_t, 256 * kPaletteEntryBytes> palette{};
    bool headerOnly = false;  ///< uncompressed rows belong behind the header, but the data ends with it
};

/** How a page is to be written. */
struct SaveSettings {
    int32_t compression = FIL_COMPRESSION_DEFAULT;
    int32_t jpegQuality = 90;
};

/** True when the page fits the largest bitmap, which is what bounds the pixels of every format. */
bool FitsBitmap(const PageInfo& page) noexcept;

/** Gives a page of 1, 4 or 8 bits the palette from black to white. */
void SetGreyRamp(PageInfo& page) noexcept;

class Codec {
public:
    virtual ~Codec() = default;

    virtual int32_t Format() const noexcept = 0;
    /** The usual extensions in lower case, without their dot. */
    virtual std::span<const char* const> Extensions() const noexcept = 0;

    /** True when data that begins with `start` is of this format. */
    virtual bool Recognizes(std::span<const uint8_t> start) const noexcept = 0;

    virtual int32_t CountPages(ByteSource& source, uint32_t& count) const noexcept = 0;
    /** Pages are counted from 1. */
    virtual int32_t ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) const noexcept = 0;
    /** Creates the image in an empty record; after a failure the record is empty. */
    virtual int32_t Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) const noexcept = 0;

    /** The compressions besides the default that the format has, be it for some depths only. */
    virtual std::span<const int32_t> Compressions() const noexcept = 0;
    /** Adds a page to a file that is empty or of this format, with a compression that the format has. */
    virtual int32_t WritePage(FileUpdate& file, PageRows& bitmap,
                              const SaveSettings& settings) const noexcept = 0;
    /**
     * Adds the picture of an image file as it is, without decoding it. FIL_ERR_UNSUPPORTED when the format, or its readers,
     * cannot take it so.
     */
    virtual int32_t WriteEncoded(FileUpdate&, ByteSource&) const noexcept { return FIL_ERR_UNSUPPORTED; }
};

/** Bytes of a file's start that every codec can be recognised by. */
constexpr size_t kStartBytes = 16;

/** The codec of a format, of a file's content or of its name; null when there is none. */
const Codec* CodecOfFormat(int32_t format) noexcept;
const Codec* CodecOfContent(ByteSource& source) noexcept;
const Codec* CodecOfName(const WCHAR* name) noexcept;

/** An image of zeros with the page's geometry, palette and resolution; freed unless it is taken. */
class NewImage {
public:
    NewImage() noexcept = default;
    NewImage(const NewImage&) = delete;
    NewImage& operator=(const NewImage&) = delete;
    ~NewImage() { KrnFreeBitmap(&bitmap_); }

    int32_t Create(const PageInfo& info) noexcept;
    /** Row `row` in the order of memory. */
    uint8_t* Row(uint64_t row) const noexcept
    {
        return static_cast<uint8_t*>(bitmap_.image) + row * bitmap_.rowBytes;
    }
    uint64_t Bytes() const noexcept { return bitmap_.imageBytes; }
    int32_t HandOver(BitmapHandle& bitmap) noexcept;

private:
    BitmapHandle bitmap_{};
};

extern const Codec& bmpCodec;
extern const Codec& jpegCodec;
extern const Codec& pngCodec;
extern const Codec& tiffCodec;
extern const Codec& pdfCodec;

}  // namespace vorn::fil
