/*
 * JPEG and PNG pages by the library that is loaded for them.
 */
#include "JpegPngCalls.h"
#include "Sibling.h"

namespace vorn::fil {
namespace {

/** Null when the library is not there. */
const JpegPngCalls* Library() noexcept
{
    static constinit SiblingFunction<const JpegPngCalls*()> calls{"libvornjpegpng.so." VORN_SOVERSION,
                                                                  kJpegPngCalls};
    const auto get = calls.In(reinterpret_cast<const void*>(&Library));
    return get ? get() : nullptr;
}

}  // namespace

std::unique_ptr<RowFile> MakeJpegFile(const RowImage& image, std::vector<uint8_t>& bytes, int quality)
{
    return Library() ? Library()->makeJpegFile(image, bytes, quality) : nullptr;
}

std::unique_ptr<RowFile> MakePngFile(const RowImage& image, std::vector<uint8_t>& bytes, PngEffort effort)
{
    return Library() ? Library()->makePngFile(image, bytes, effort) : nullptr;
}

namespace jpeg {

int32_t Load(ByteSource& source, const Header& header, BitmapHandle& bitmap) noexcept
{
    return Library() ? Library()->loadJpeg(source, header, bitmap) : FIL_ERR_UNSUPPORTED;
}

}  // namespace jpeg

namespace png {

int32_t ReadInfo(ByteSource& source, PageInfo& info) noexcept
{
    return Library() ? Library()->readPngInfo(source, info) : FIL_ERR_UNSUPPORTED;
}

int32_t Load(ByteSource& source, BitmapHandle& bitmap) noexcept
{
    return Library() ? Library()->loadPng(source, bitmap) : FIL_ERR_UNSUPPORTED;
}

}  // namespace png
}  // namespace vorn::fil
