#include "bmp/Read.h"

#include <algorithm>
#include <bit>

#include "io/LittleEndian.h"

namespace vorn::fil::bmp {
namespace {

/** One colour channel of a pixel, scaled to 8 bits. */
class Channel {
public:
    explicit Channel(uint32_t mask) noexcept
        : mask_{mask}, shift_{mask ? std::countr_zero(mask) : 0}, most_{mask ? mask >> shift_ : 1}
    {
    }
    uint8_t Of(uint32_t pixel) const noexcept
    {
        const uint64_t value = (pixel & mask_) >> shift_;
        return static_cast<uint8_t>((value * 255 + most_ / 2) / most_);
    }

private:
    uint32_t mask_;
    int shift_;
    uint32_t most_;
};

/** The bytes of a run-length encoded image, one after the other. */
class ByteReader {
public:
    ByteReader(ByteSource& source, uint64_t offset) noexcept : source_{source}, offset_{offset} {}

    /** False at the end of the data; `Status` then tells why. */
    bool Take(uint8_t& byte) noexcept
    {
        if (next_ == filled_ && !Fill())
            return false;
        byte = buffer_[next_++];
        return true;
    }
    int32_t Status() const noexcept { return status_; }

private:
    bool Fill() noexcept
    {
        const uint64_t left = source_.Size() - offset_;
        filled_ = static_cast<size_t>(std::min<uint64_t>(left, sizeof buffer_));
        next_ = 0;
        status_ = filled_ > 0 ? source_.ReadAt(offset_, buffer_, filled_) : FIL_ERR_CORRUPT;
        if (status_ != FIL_SUCCESS)
            filled_ = 0;
        offset_ += filled_;
        return filled_ > 0;
    }

    ByteSource& source_;
    uint64_t offset_;
    int32_t status_ = FIL_SUCCESS;
    size_t next_ = 0;
    size_t filled_ = 0;
    uint8_t buffer_[4096];
};

/** Where the next pixel of a run-length encoded image goes. */
class PixelWriter {
public:
    PixelWriter(const PageInfo& page, const NewImage& image) noexcept : page_{page}, image_{image} {}

    /** False when the pixel lies outside of the picture. */
    bool Put(uint8_t index) noexcept
    {
        if (x_ >= page_.width || y_ >= page_.height)
            return false;
        uint8_t* const row = image_.Row(y_);
        if (page_.bitsPerPixel == 8)
            row[x_] = index;
        else if (x_ % 2 == 0)
            row[x_ / 2] = static_cast<uint8_t>((row[x_ / 2] & 0x0F) | index << 4);
        else
            row[x_ / 2] = static_cast<uint8_t>((row[x_ / 2] & 0xF0) | index);
        ++x_;
        return true;
    }
    void EndRow() noexcept
    {
        x_ = 0;
        ++y_;
    }
    bool Move(uint8_t right, uint8_t on) noexcept
    {
        x_ += right;
        y_ += on;
        return x_ <= page_.width && y_ < page_.height;
    }

private:
    const PageInfo& page_;
    const NewImage& image_;
    uint64_t x_ = 0;
    uint64_t y_ = 0;
};

/** Walks the codes of an image: pairs of a count and a value, or a 0 and an escape. */
class RleDecoder {
public:
    RleDecoder(ByteSource& source, const Header& header, const NewImage& image) noexcept
        : bytes_{source, header.imageOffset},
          pixels_{header.page, image},
          pixelsPerByte_{header.storage == Storage::Rle4 ? 2 : 1}
    {
    }

    int32_t Run() noexcept
    {
        bool more = true;
        while (more) {
            uint8_t count = 0, value = 0;
            if (!bytes_.Take(count) || !bytes_.Take(value))
                return bytes_.Status();
            if (!(count > 0 ? PutRun(count, value) : Escape(value, more)))
                return bytes_.Status() == FIL_SUCCESS ? FIL_ERR_CORRUPT : bytes_.Status();
        }
        return FIL_SUCCESS;
    }

private:
    /** Pixel `i` of those that alternate in `value`. */
    uint8_t PixelOf(uint8_t value, int i) const noexcept
    {
        if (pixelsPerByte_ == 1)
            return value;
        return static_cast<uint8_t>(i % 2 == 0 ? value >> 4 : value & 0x0F);
    }

    bool PutRun(int count, uint8_t value) noexcept
    {
        for (int i = 0; i < count; ++i)
            if (!pixels_.Put(PixelOf(value, i)))
                return false;
        return true;
    }

    bool PutLiteral(int count) noexcept
    {
        int taken = 0;
        uint8_t value = 0;
        for (int i = 0; i < count; ++i) {
            if (i % pixelsPerByte_ == 0) {
                if (!bytes_.Take(value))
                    return false;
                ++taken;
            }
            if (!pixels_.Put(PixelOf(value, i)))
                return false;
        }
        return taken % 2 == 0 || bytes_.Take(value);
    }

    bool Escape(uint8_t code, bool& more) noexcept
    {
        uint8_t right = 0, on = 0;
        switch (code) {
            case 0:
                pixels_.EndRow();
                return true;
            case 1:
                more = false;
                return true;
            case 2:
                return bytes_.Take(right) && bytes_.Take(on) && pixels_.Move(right, on);
            default:
                return PutLiteral(code);
        }
    }

    ByteReader bytes_;
    PixelWriter pixels_;
    int pixelsPerByte_;
};

}  // namespace

int32_t DecodeMasks(ByteSource& source, const Header& header, const NewImage& image) noexcept
{
    const Channel red{header.masks[0]}, green{header.masks[1]}, blue{header.masks[2]}, alpha{header.masks[3]};
    const uint32_t storedBytes = header.page.storedBits / 8;
    const uint32_t pixelBytes = header.page.bitsPerPixel / 8;
    const uint64_t rowBytes = KrnRowBytes(header.page.width, header.page.storedBits);
    const Buffer stored{rowBytes};
    if (!stored.Get())
        return FIL_ERR_OUT_OF_MEMORY;
    for (uint32_t y = 0; y < header.page.height; ++y) {
        if (const int32_t status = source.ReadAt(header.imageOffset + y * rowBytes, stored.Get(), rowBytes);
            status != FIL_SUCCESS)
            return status;
        const uint8_t* from = stored.Get();
        uint8_t* to = image.Row(y);
        for (uint32_t x = 0; x < header.page.width; ++x, from += storedBytes, to += pixelBytes) {
            const uint32_t pixel = storedBytes == 2 ? GetU16(from) : GetU32(from);
            to[0] = blue.Of(pixel);
            to[1] = green.Of(pixel);
            to[2] = red.Of(pixel);
            if (pixelBytes == 4)
                to[3] = alpha.Of(pixel);
        }
    }
    return FIL_SUCCESS;
}

int32_t DecodeRle(ByteSource& source, const Header& header, const NewImage& image) noexcept
{
    return RleDecoder{source, header, image}.Run();
}

}  // namespace vorn::fil::bmp
