#include "PngHeader.h"

#include <algorithm>

#include "BigEndian.h"
#include "Chunks.h"
#include "Pixels.h"
#include "PngPages.h"

namespace vorn::fil::png {
namespace {

constexpr uint64_t kSignatureBytes = 8;

constexpr uint32_t Type(const char (&name)[5]) noexcept
{
    uint32_t type = 0;
    for (int i = 0; i < 4; ++i)
        type = type << 8 | static_cast<uint8_t>(name[i]);
    return type;
}
constexpr uint32_t kIhdr = Type("IHDR"), kPlte = Type("PLTE"), kTrns = Type("tRNS"), kPhys = Type("pHYs"),
                   kIdat = Type("IDAT"), kIend = Type("IEND");

/** Kinds of pixels, as the header numbers them. */
constexpr uint32_t kGrey = 0, kColor = 2, kIndexed = 3, kGreyAlpha = 4, kColorAlpha = 6;

struct KindRow {
    uint32_t kind, channels;
    std::array<uint32_t, 5> depths;
};
constexpr KindRow kKinds[] = {
    {kGrey, 1, {1, 2, 4, 8, 16}}, {kColor, 3, {8, 16}},      {kIndexed, 1, {1, 2, 4, 8}},
    {kGreyAlpha, 2, {8, 16}},     {kColorAlpha, 4, {8, 16}},
};

/** A chunk, with its content as far as the header takes any of it. */
struct Chunk {
    uint32_t type = 0;
    uint32_t bytes = 0;
    std::array<uint8_t, 768> content{};
};

/** Goes through the chunks of a file and checks them. */
class Chunks {
public:
    explicit Chunks(ByteSource& source) noexcept : source_{source}, piece_{kChunkBytes} {}

    /** What the next chunk is; its content is left to Take. */
    int32_t Peek(Chunk& chunk) noexcept
    {
        uint8_t start[8] = {};
        if (const int32_t status = source_.ReadAt(position_, start, sizeof start); status != FIL_SUCCESS)
            return status;
        chunk.bytes = BigEndian32(start);
        chunk.type = BigEndian32(start + 4);
        return chunk.bytes <= INT32_MAX ? FIL_SUCCESS : FIL_ERR_CORRUPT;
    }

    int32_t Take(Chunk& chunk) noexcept
    {
        if (!piece_.Get())
            return FIL_ERR_OUT_OF_MEMORY;
        constexpr uint32_t kTypeBytes = 4, kCrcBytes = 4;
        uint64_t at = position_ + 4, left = uint64_t{chunk.bytes} + kTypeBytes;
        uint32_t crc = 0;
        for (bool first = true; left > 0; first = false) {
            const uint64_t count = std::min(left, kChunkBytes);
            if (const int32_t status = source_.ReadAt(at, piece_.Get(), count); status != FIL_SUCCESS)
                return status;
            if (first)
                std::copy_n(piece_.Get() + kTypeBytes,
                            std::min<uint64_t>(count - kTypeBytes, chunk.content.size()),
                            chunk.content.begin());
            crc = Crc32(crc, piece_.Get(), static_cast<size_t>(count));
            at += count;
            left -= count;
        }
        uint8_t stored[kCrcBytes] = {};
        if (const int32_t status = source_.ReadAt(at, stored, sizeof stored); status != FIL_SUCCESS)
            return status;
        position_ = at + kCrcBytes;
        return crc == BigEndian32(stored) ? FIL_SUCCESS : FIL_ERR_CORRUPT;
    }

private:
    ByteSource& source_;
    Buffer piece_;
    uint64_t position_ = kSignatureBytes;
};

/** The header while it is read. */
class Reader {
public:
    Reader(ByteSource& source, Header& header) noexcept
        : source_{source}, chunks_{source}, header_{header}, page_{header.page}
    {
    }

    int32_t Read() noexcept
    {
        for (;;) {
            Chunk chunk;
            if (const int32_t status = chunks_.Peek(chunk); status != FIL_SUCCESS)
                return status;
            if (chunk.type == kIdat)
                return Finish();
            if (const int32_t status = chunks_.Take(chunk); status != FIL_SUCCESS)
                return status;
            if (const int32_t status = Use(chunk); status != FIL_SUCCESS)
                return status;
        }
    }

private:
    int32_t Use(const Chunk& chunk) noexcept
    {
        if (!kind_)
            return chunk.type == kIhdr && chunk.bytes == 13 ? UseGeometry(chunk.content.data())
                                                            : FIL_ERR_CORRUPT;
        switch (chunk.type) {
            case kIhdr:
            case kIend:
                return FIL_ERR_CORRUPT;
            case kPlte:
                return UsePalette(chunk);
            case kTrns:
                hasKey_ = true;
                UseAlphas(chunk);
                return FIL_SUCCESS;
            case kPhys:
                UseResolution(chunk);
                return FIL_SUCCESS;
            default:
                return FIL_SUCCESS;
        }
    }

    int32_t UseGeometry(const uint8_t* content) noexcept
    {
        page_.width = BigEndian32(content);
        page_.height = BigEndian32(content + 4);
        depth_ = content[8];
        for (const KindRow& row : kKinds)
            if (row.kind == content[9] &&
                std::find(row.depths.begin(), row.depths.end(), depth_) != row.depths.end())
                kind_ = &row;
        const bool known = kind_ && depth_ > 0 && content[10] == 0 && content[11] == 0 && content[12] <= 1;
        if (!known || page_.width == 0 || page_.width > INT32_MAX || page_.height == 0 ||
            page_.height > INT32_MAX)
            return FIL_ERR_CORRUPT;
        header_.hasPalette = kind_->kind == kIndexed;
        return FIL_SUCCESS;
    }

    int32_t UsePalette(const Chunk& chunk) noexcept
    {
        constexpr uint32_t kEntryBytes = 3;
        if (chunk.bytes % kEntryBytes != 0 || chunk.bytes > chunk.content.size())
            return FIL_ERR_CORRUPT;
        if (!header_.hasPalette)
            return FIL_SUCCESS;
        page_.paletteCount = std::min(chunk.bytes / kEntryBytes, 1u << depth_);
        for (uint32_t i = 0; i < page_.paletteCount; ++i)
            for (uint32_t color = 0; color < 3; ++color)
                page_.palette[i * kPaletteEntryBytes + color] = chunk.content[i * kEntryBytes + 2 - color];
        return FIL_SUCCESS;
    }

    void UseAlphas(const Chunk& chunk) noexcept
    {
        if (!header_.hasPalette)
            return;
        for (uint32_t i = 0; i < std::min(page_.paletteCount, chunk.bytes); ++i)
            for (uint32_t color = 0; color < 3; ++color) {
                uint8_t& level = page_.palette[i * kPaletteEntryBytes + color];
                level = OverWhite(level, chunk.content[i]);
            }
    }

    void UseResolution(const Chunk& chunk) noexcept
    {
        constexpr uint8_t kMeter = 1;
        const uint32_t x = BigEndian32(chunk.content.data()), y = BigEndian32(chunk.content.data() + 4);
        if (chunk.bytes != 9 || chunk.content[8] != kMeter || x > INT32_MAX || y > INT32_MAX)
            return;
        page_.xDpi = KrnDpiFromPelsPerMeter(static_cast<int32_t>(x));
        page_.yDpi = KrnDpiFromPelsPerMeter(static_cast<int32_t>(y));
    }

    int32_t Finish() noexcept
    {
        if (!kind_ || (header_.hasPalette && page_.paletteCount == 0))
            return FIL_ERR_CORRUPT;
        const bool color = kind_->kind == kColor || kind_->kind == kColorAlpha;
        const bool keyed = hasKey_ && !header_.hasPalette;
        page_.storedBits = depth_ * kind_->channels;
        page_.bitsPerPixel = color ? 24 : depth_ == 2 || depth_ == 16 || keyed ? 8 : depth_;
        if (!header_.hasPalette && page_.bitsPerPixel <= 8)
            SetGreyRamp(page_);
        if (!FitsBitmap(page_))
            return FIL_ERR_TOO_LARGE;
        return IsTooShort(source_.Size(), page_) ? FIL_ERR_CORRUPT : FIL_SUCCESS;
    }

    ByteSource& source_;
    Chunks chunks_;
    Header& header_;
    PageInfo& page_;
    const KindRow* kind_ = nullptr;
    uint32_t depth_ = 0;
    bool hasKey_ = false;  ///< one colour, or some of a palette, can be seen through
};

}  // namespace

int32_t ReadHeader(ByteSource& source, Header& header) noexcept
{
    return Reader{source, header}.Read();
}

int32_t CheckWhole(ByteSource& source) noexcept
{
    Chunks chunks{source};
    for (;;) {
        Chunk chunk;
        if (const int32_t status = chunks.Peek(chunk); status != FIL_SUCCESS)
            return status;
        if (const int32_t status = chunks.Take(chunk); status != FIL_SUCCESS)
            return status;
        if (chunk.type == kIend)
            return FIL_SUCCESS;
    }
}

}  // namespace vorn::fil::png
