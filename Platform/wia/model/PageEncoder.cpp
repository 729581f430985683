#include "PageEncoder.h"

#include "CompressedEncoder.h"
#include "DibEncoder.h"
#include "TiffEncoder.h"

namespace vorn::wia {

std::unique_ptr<PageEncoder> MakePageEncoder(REFGUID format, LONG jpegQuality)
{
    if (IsEqualGUID(format, WiaImgFmt_MEMORYBMP))
        return std::make_unique<DibEncoder>(DibEncoder::Form::Memory);
    if (IsEqualGUID(format, WiaImgFmt_BMP))
        return std::make_unique<DibEncoder>(DibEncoder::Form::File);
    if (IsEqualGUID(format, WiaImgFmt_TIFF))
        return std::make_unique<TiffEncoder>(TiffEncoder::Pages::Apart);
    return MakeCompressedEncoder(format, jpegQuality);
}

std::unique_ptr<PageEncoder> MakeDocumentEncoder(REFGUID format)
{
    if (IsEqualGUID(format, WiaImgFmt_TIFF))
        return std::make_unique<TiffEncoder>(TiffEncoder::Pages::Chained);
    return nullptr;
}

}  // namespace vorn::wia
