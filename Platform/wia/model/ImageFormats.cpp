#include "ImageFormats.h"

#include "PageEncoder.h"

namespace vorn::wia {

std::vector<WIA_FORMAT_INFO> ImageFormats(Generation generation, bool documents)
{
    std::vector<WIA_FORMAT_INFO> formats;
    const auto offer = [&](LONG tymed, std::initializer_list<GUID> some) {
        for (const GUID& format : some) {
            if (MakePageEncoder(format))
                formats.push_back({format, tymed});
        }
    };
    if (generation == Generation::One)
        offer(TYMED_CALLBACK, {WiaImgFmt_MEMORYBMP, WiaImgFmt_BMP, WiaImgFmt_TIFF});
    else
        offer(TYMED_CALLBACK, {WiaImgFmt_BMP});
    offer(TYMED_FILE, {WiaImgFmt_BMP, WiaImgFmt_TIFF, WiaImgFmt_JPEG, WiaImgFmt_PNG});
    if (documents)
        offer(TYMED_MULTIPAGE_FILE, {WiaImgFmt_TIFF});
    return formats;
}

bool IsCompressed(REFGUID format) noexcept
{
    return IsEqualGUID(format, WiaImgFmt_JPEG) || IsEqualGUID(format, WiaImgFmt_PNG);
}

std::vector<GUID> FormatsOf(const std::vector<WIA_FORMAT_INFO>& formats, LONG tymed)
{
    std::vector<GUID> guids;
    for (const WIA_FORMAT_INFO& pair : formats) {
        if (pair.lTymed == tymed)
            guids.push_back(pair.guidFormatID);
    }
    return guids;
}

}  // namespace vorn::wia
