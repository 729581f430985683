/**
 * @file TiffEncoder.h
 * Uncompressed baseline TIFF, a page a file or page after page in one file.
 *
 * A page is written front to back: its directory, the values the directory points to, then its strips from
 * the top of the picture down. A further page is linked by one write of 4 bytes into the directory before it,
 * once its own bytes are complete.
 */
#pragma once

#include "PageEncoder.h"

namespace vorn::wia {

class TiffEncoder final : public PageEncoder {
public:
    enum class Pages {
        Apart,   ///< each Encode begins a file
        Chained  ///< each Encode continues the file of those before it
    };

    explicit TiffEncoder(Pages pages) noexcept : pages_{pages} {}

    /** Of a page that is a file of its own. */
    uint64_t EncodedBytes(const PageGeometry& geometry) const noexcept override;
    HRESULT Encode(Page& page, PageSink& sink, uint32_t chunkBytes) override;

private:
    Pages pages_;
    uint64_t fileBytes_ = 0;   ///< up to the end of the last complete page; 0 when there is none
    uint64_t linkOffset_ = 0;  ///< of that page's pointer to the next directory
};

}  // namespace vorn::wia
