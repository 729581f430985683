/**
 * @file DibEncoder.h
 * Device-independent bitmaps: as they lie in memory, and as a BMP file.
 */
#pragma once

#include "PageEncoder.h"

namespace vorn::wia {

class DibEncoder final : public PageEncoder {
public:
    enum class Form {
        Memory,  ///< begins with the BITMAPINFOHEADER
        File     ///< with a BITMAPFILEHEADER before it
    };

    explicit DibEncoder(Form form) noexcept : form_{form} {}

    uint64_t EncodedBytes(const PageGeometry& geometry) const noexcept override;
    HRESULT Encode(Page& page, PageSink& sink, uint32_t chunkBytes) override;

private:
    std::vector<uint8_t> Header(const PageGeometry& geometry) const;

    Form form_;
};

}  // namespace vorn::wia
