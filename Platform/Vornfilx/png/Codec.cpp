/*
 * PNG, one page a file.
 */
#include <algorithm>

#include "EncodePage.h"
#include "png/Pages.h"

namespace vorn::fil {
namespace {

constexpr const char* kExtensions[] = {"png"};
constexpr int32_t kCompressions[] = {FIL_COMPRESSION_DEFLATE};

class PngCodec final : public Codec {
public:
    int32_t Format() const noexcept override { return FIL_FORMAT_PNG; }
    std::span<const char* const> Extensions() const noexcept override { return kExtensions; }
    bool Recognizes(std::span<const uint8_t> start) const noexcept override
    {
        constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
        return start.size() >= sizeof kSignature &&
               std::equal(std::begin(kSignature), std::end(kSignature), start.begin());
    }

    int32_t CountPages(ByteSource&, uint32_t& count) const noexcept override
    {
        count = 1;
        return FIL_SUCCESS;
    }
    int32_t ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) const noexcept override
    {
        return page == 1 ? png::ReadInfo(source, info) : FIL_ERR_NO_SUCH_PAGE;
    }
    int32_t Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) const noexcept override
    {
        return page == 1 ? png::Load(source, bitmap) : FIL_ERR_NO_SUCH_PAGE;
    }
    std::span<const int32_t> Compressions() const noexcept override { return kCompressions; }
    int32_t WritePage(FileUpdate& file, PageRows& bitmap, const SaveSettings&) const noexcept override
    {
        if (file.OldSize() > 0)
            return FIL_ERR_SINGLE_PAGE_FORMAT;
        return bitmap.bitsPerPixel == 16 ? FIL_ERR_UNSUPPORTED : Write(file, bitmap);
    }

private:
    static int32_t Write(FileUpdate& file, PageRows& bitmap) noexcept
    try {
        std::vector<uint8_t> bytes;
        const auto page = CreatePngWriter(RowImageOf(bitmap), bytes, png::ChooseStrategy(bitmap));
        return EncodePage(file, bitmap, *page, bytes);
    } catch (const std::bad_alloc&) {
        return FIL_ERR_OUT_OF_MEMORY;
    }
};

const PngCodec kCodec;

}  // namespace

const Codec& pngCodec = kCodec;

}  // namespace vorn::fil
