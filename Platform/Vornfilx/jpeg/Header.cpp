#include "jpeg/Header.h"

#include <algorithm>
#include <utility>

#include "tiff/Chain.h"
#include "tiff/StoredFields.h"

namespace vorn::fil::jpeg {
namespace {

constexpr uint32_t BigEndian16(const uint8_t* at) noexcept
{
    return static_cast<uint32_t>(at[0] << 8 | at[1]);
}

constexpr uint8_t kEndOfImage = 0xD9, kStartOfScan = 0xDA, kFill = 0xFF;
constexpr uint8_t kApp0 = 0xE0, kApp1 = 0xE1;

/** Frames of these kinds cannot be decoded: lossless and hierarchical ones. */
constexpr uint8_t kUnsupportedFrames[] = {0xC3, 0xC5, 0xC6, 0xC7, 0xCB, 0xCD, 0xCE, 0xCF};
constexpr uint8_t kHuffmanFrames[] = {0xC0, 0xC1, 0xC2};
constexpr uint8_t kArithmeticFrames[] = {0xC9, 0xCA};

template <size_t Count>
bool IsOneOf(uint8_t marker, const uint8_t (&markers)[Count]) noexcept
{
    return std::find(std::begin(markers), std::end(markers), marker) != std::end(markers);
}

/** A marker and what belongs to it. */
struct Segment {
    uint8_t marker = 0;
    uint64_t offset = 0;  ///< of the content
    uint32_t bytes = 0;
};

/** Finds the next segment from `at` on, and moves `at` behind it. What is no marker is skipped, as codecs do. */
int32_t NextSegment(ByteSource& source, uint64_t& at, Segment& segment) noexcept
{
    uint8_t bytes[2] = {};
    do {
        if (const int32_t status = source.ReadAt(at, bytes, 2); status != FIL_SUCCESS)
            return status;
        ++at;
    } while (bytes[0] != kFill || bytes[1] == kFill || bytes[1] == 0);
    segment.marker = bytes[1];
    at += 1;
    const bool alone = segment.marker == 0x01 || (segment.marker >= 0xD0 && segment.marker <= kEndOfImage);
    if (alone) {
        segment.bytes = 0;
        return FIL_SUCCESS;
    }
    if (const int32_t status = source.ReadAt(at, bytes, 2); status != FIL_SUCCESS)
        return status;
    const uint32_t length = BigEndian16(bytes);
    if (length < 2 || length > source.Size() - at)
        return FIL_ERR_CORRUPT;
    segment.offset = at + 2;
    segment.bytes = length - 2;
    at += length;
    return FIL_SUCCESS;
}

/** The resolution of a JFIF segment; one that only tells the pixels' shape tells none. */
void ReadJfif(const uint8_t* content, uint32_t bytes, PageInfo& page) noexcept
{
    constexpr uint8_t kName[5] = {'J', 'F', 'I', 'F', 0};
    if (bytes < 12 || !std::equal(std::begin(kName), std::end(kName), content))
        return;
    const uint32_t unit = content[7] == 0 ? 1u : content[7] + 1u;  // the next as TIFF counts them
    page.xDpi = tiff::DpiOf(BigEndian16(content + 8), unit);
    page.yDpi = tiff::DpiOf(BigEndian16(content + 10), unit);
}

/** An Exif segment holds the directory of a TIFF file without a picture. Damage in it does no harm to the picture. */
void ReadExif(const uint8_t* content, uint32_t bytes, Header& header) noexcept
{
    constexpr uint8_t kName[6] = {'E', 'x', 'i', 'f', 0, 0};
    if (bytes < sizeof kName || !std::equal(std::begin(kName), std::end(kName), content))
        return;
    MemorySource source{content + sizeof kName, bytes - sizeof kName};
    tiff::Chain chain;
    tiff::StoredFields fields;
    if (tiff::WalkChain(source, 1, chain) != FIL_SUCCESS ||
        tiff::ReadStoredFields(source, chain, fields) != FIL_SUCCESS)
        return;
    if (fields.orientation >= 1 && fields.orientation <= 8)
        header.orientation = static_cast<Orientation>(fields.orientation);
    if (header.page.xDpi > 0 && header.page.yDpi > 0)
        return;
    header.page.xDpi = tiff::DpiOf(fields.xResolution, fields.unit);
    header.page.yDpi = tiff::DpiOf(fields.yResolution, fields.unit);
}

int32_t ReadMetadata(ByteSource& source, const Segment& segment, Header& header) noexcept
{
    const Buffer content{segment.bytes};
    if (!content.Get())
        return FIL_ERR_OUT_OF_MEMORY;
    if (const int32_t status = source.ReadAt(segment.offset, content.Get(), segment.bytes);
        status != FIL_SUCCESS)
        return status;
    if (segment.marker == kApp0)
        ReadJfif(content.Get(), segment.bytes, header.page);
    else
        ReadExif(content.Get(), segment.bytes, header);
    return FIL_SUCCESS;
}

constexpr uint64_t CeilDiv(uint64_t value, uint64_t by) noexcept
{
    return (value + by - 1) / by;
}

/** Blocks of 64 pixels that the file holds at least; 0 when the components' shapes make no sense. */
uint64_t CountBlocks(const uint8_t* components, const Header& header) noexcept
{
    uint32_t widest = 1, highest = 1;
    for (uint32_t i = 0; i < header.components; ++i) {
        const uint32_t across = components[i * 3 + 1] >> 4, down = components[i * 3 + 1] & 0x0F;
        if (across < 1 || across > 4 || down < 1 || down > 4)
            return 0;
        widest = std::max(widest, across);
        highest = std::max(highest, down);
    }
    uint64_t blocks = 0;
    for (uint32_t i = 0; i < header.components; ++i) {
        const uint32_t across = components[i * 3 + 1] >> 4, down = components[i * 3 + 1] & 0x0F;
        blocks += CeilDiv(uint64_t{header.storedWidth} * across, widest * 8u) *
                  CeilDiv(uint64_t{header.storedHeight} * down, highest * 8u);
    }
    return blocks;
}

int32_t TakeGeometry(Header& header) noexcept
{
    PageInfo& page = header.page;
    page.width = header.storedWidth;
    page.height = header.storedHeight;
    if (IsTurned(header.orientation)) {
        std::swap(page.width, page.height);
        std::swap(page.xDpi, page.yDpi);
    }
    page.storedBits = header.components * 8;
    page.bitsPerPixel = header.components == 1 ? 8 : 24;
    if (page.bitsPerPixel == 8)
        SetGreyRamp(page);
    return FitsBitmap(page) ? FIL_SUCCESS : FIL_ERR_TOO_LARGE;
}

int32_t ReadFrame(ByteSource& source, const Segment& segment, Header& header) noexcept
{
    constexpr uint32_t kFixedBytes = 6, kMostComponents = 4;
    uint8_t frame[kFixedBytes + kMostComponents * 3] = {};
    if (segment.bytes < kFixedBytes)
        return FIL_ERR_CORRUPT;
    const uint32_t bytes = std::min<uint32_t>(segment.bytes, sizeof frame);
    if (const int32_t status = source.ReadAt(segment.offset, frame, bytes); status != FIL_SUCCESS)
        return status;
    header.storedHeight = BigEndian16(frame + 1);
    header.storedWidth = BigEndian16(frame + 3);
    header.components = frame[5];
    header.frameEnd = segment.offset + segment.bytes;
    if (header.storedWidth == 0 || segment.bytes != kFixedBytes + header.components * 3)
        return FIL_ERR_CORRUPT;
    const bool knownComponents = header.components == 1 || header.components == 3 || header.components == 4;
    const bool heightFollows = header.storedHeight == 0;
    if (frame[0] != 8 || !knownComponents || heightFollows)
        return FIL_ERR_UNSUPPORTED;
    if (const int32_t status = TakeGeometry(header); status != FIL_SUCCESS)
        return status;
    const bool rgb =
        frame[kFixedBytes] == 'R' && frame[kFixedBytes + 3] == 'G' && frame[kFixedBytes + 6] == 'B';
    header.common = IsOneOf(segment.marker, kHuffmanFrames) &&
                    (header.components == 1 || (header.components == 3 && !rgb));
    const uint64_t blocks = CountBlocks(frame + kFixedBytes, header);
    // A block takes a bit at least, but for arithmetic coding.
    const bool tooShort = IsOneOf(segment.marker, kHuffmanFrames) && blocks / 8 > source.Size();
    return blocks == 0 || tooShort ? FIL_ERR_CORRUPT : FIL_SUCCESS;
}

}  // namespace

int32_t ReadHeader(ByteSource& source, Header& header) noexcept
{
    header = Header{};
    uint64_t at = 0;
    Segment segment;
    for (;;) {
        if (const int32_t status = NextSegment(source, at, segment); status != FIL_SUCCESS)
            return status;
        if (IsOneOf(segment.marker, kHuffmanFrames) || IsOneOf(segment.marker, kArithmeticFrames))
            return ReadFrame(source, segment, header);
        if (IsOneOf(segment.marker, kUnsupportedFrames))
            return FIL_ERR_UNSUPPORTED;
        if (segment.marker == kStartOfScan || segment.marker == kEndOfImage)
            return FIL_ERR_CORRUPT;
        if (segment.marker == kApp0 || segment.marker == kApp1)
            if (const int32_t status = ReadMetadata(source, segment, header); status != FIL_SUCCESS)
                return status;
    }
}

}  // namespace vorn::fil::jpeg
