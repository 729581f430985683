/*
 * TIFF, any number of pages a file.
 */
#include "tiff/Chain.h"
#include "tiff/Pages.h"

namespace vorn::fil {
namespace {

constexpr const char* kExtensions[] = {"tif", "tiff"};

class TiffCodec final : public Codec {
public:
    int32_t Format() const noexcept override { return FIL_FORMAT_TIFF; }
    std::span<const char* const> Extensions() const noexcept override { return kExtensions; }
    bool Recognizes(std::span<const uint8_t> start) const noexcept override;

    int32_t CountPages(ByteSource& source, uint32_t& count) const noexcept override;
    int32_t ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) const noexcept override
    {
        return tiff::ReadInfo(source, page, info);
    }
    int32_t Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) const noexcept override
    {
        return tiff::Load(source, page, bitmap);
    }
    std::span<const int32_t> Compressions() const noexcept override { return tiff::Compressions(); }
    int32_t WritePage(FileUpdate& file, PageRows& bitmap,
                      const SaveSettings& settings) const noexcept override
    {
        return tiff::WritePage(file, bitmap, settings);
    }
};

bool TiffCodec::Recognizes(std::span<const uint8_t> start) const noexcept
{
    if (start.size() < 4)
        return false;
    const bool little =
        start[0] == 'I' && start[1] == 'I' && (start[2] == 42 || start[2] == 43) && start[3] == 0;
    const bool big =
        start[0] == 'M' && start[1] == 'M' && start[2] == 0 && (start[3] == 42 || start[3] == 43);
    return little || big;
}

int32_t TiffCodec::CountPages(ByteSource& source, uint32_t& count) const noexcept
{
    tiff::Chain chain;
    const int32_t status = tiff::WalkChain(source, 0, chain);
    if (status == FIL_SUCCESS)
        count = chain.pageCount;
    return status;
}

const TiffCodec kCodec;

}  // namespace

const Codec& tiffCodec = kCodec;

}  // namespace vorn::fil
