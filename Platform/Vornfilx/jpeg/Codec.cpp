/*
 * JPEG, one page a file.
 */
#include "EncodePage.h"
#include "jpeg/Header.h"

namespace vorn::fil {
namespace {

constexpr const char* kExtensions[] = {"jpg", "jpeg", "jpe", "jfif"};
constexpr int32_t kCompressions[] = {FIL_COMPRESSION_JPEG};

class JpegCodec final : public Codec {
public:
    int32_t Format() const noexcept override { return FIL_FORMAT_JPEG; }
    std::span<const char* const> Extensions() const noexcept override { return kExtensions; }
    bool Recognizes(std::span<const uint8_t> start) const noexcept override
    {
        return start.size() >= 3 && start[0] == 0xFF && start[1] == 0xD8 && start[2] == 0xFF;
    }

    int32_t CountPages(ByteSource&, uint32_t& count) const noexcept override
    {
        count = 1;
        return FIL_SUCCESS;
    }
    int32_t ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) const noexcept override;
    int32_t Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) const noexcept override;
    std::span<const int32_t> Compressions() const noexcept override { return kCompressions; }
    int32_t WritePage(FileUpdate& file, PageRows& bitmap,
                      const SaveSettings& settings) const noexcept override;

private:
    static int32_t Write(FileUpdate& file, PageRows& bitmap, int32_t quality) noexcept
    try {
        std::vector<uint8_t> bytes;
        return EncodePage(file, bitmap, *CreateJpegWriter(RowImageOf(bitmap), bytes, quality), bytes);
    } catch (const std::bad_alloc&) {
        return FIL_ERR_OUT_OF_MEMORY;
    }
};

int32_t JpegCodec::ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) const noexcept
{
    jpeg::Header header;
    const int32_t status = page == 1 ? jpeg::ReadHeader(source, header) : FIL_ERR_NO_SUCH_PAGE;
    if (status == FIL_SUCCESS)
        info = header.page;
    return status;
}

int32_t JpegCodec::Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) const noexcept
{
    jpeg::Header header;
    const int32_t status = page == 1 ? jpeg::ReadHeader(source, header) : FIL_ERR_NO_SUCH_PAGE;
    return status == FIL_SUCCESS ? jpeg::Load(source, header, bitmap) : status;
}

int32_t JpegCodec::WritePage(FileUpdate& file, PageRows& bitmap, const SaveSettings& settings) const noexcept
{
    if (file.OldSize() > 0)
        return FIL_ERR_SINGLE_PAGE_FORMAT;
    if (bitmap.bitsPerPixel == 16)
        return FIL_ERR_UNSUPPORTED;
    if (bitmap.width > kLongestJpegSide || bitmap.height > kLongestJpegSide)
        return FIL_ERR_TOO_LARGE;
    return Write(file, bitmap, settings.jpegQuality);
}

const JpegCodec kCodec;

}  // namespace

const Codec& jpegCodec = kCodec;

}  // namespace vorn::fil
