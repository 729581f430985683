/*
 * TIFF pages, and data of their kind in PDF pages, by the library that is loaded for them.
 */
#include "Sibling.h"
#include "TiffCalls.h"

namespace vorn::fil {
namespace {

/** Null when the library is not there. */
const tiff::Calls* Library() noexcept
{
    static constinit SiblingFunction<const tiff::Calls*()> calls{"libvorntiff.so." VORN_SOVERSION,
                                                                 tiff::kCalls};
    const auto get = calls.In(reinterpret_cast<const void*>(&Library));
    return get ? get() : nullptr;
}

}  // namespace

namespace tiff {

int32_t ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) noexcept
{
    return Library() ? Library()->readInfo(source, page, info) : FIL_ERR_UNSUPPORTED;
}

int32_t Load(ByteSource& source, uint32_t page, BitmapHandle& bitmap) noexcept
{
    return Library() ? Library()->load(source, page, bitmap) : FIL_ERR_UNSUPPORTED;
}

int32_t WritePage(FileUpdate& file, PageRows& bitmap, const SaveSettings& settings) noexcept
{
    return Library() ? Library()->writePage(file, bitmap, settings) : FIL_ERR_UNSUPPORTED;
}

std::span<const int32_t> Compressions() noexcept
{
    return Library() ? Library()->compressions() : std::span<const int32_t>{};
}

}  // namespace tiff

namespace pdf {

bool HasFaxData() noexcept
{
    return Library() != nullptr;
}

int32_t WriteFaxData(FileUpdate& update, PageRows& bitmap)
{
    return Library() ? Library()->writeFaxData(update, bitmap) : FIL_ERR_UNSUPPORTED;
}

}  // namespace pdf
}  // namespace vorn::fil
