/*
 * Writing a JPEG file by libjpeg.
 */
#include "JpegPages.h"
#include "RowFileWrite.h"

namespace vorn::fil::jpeg {

int32_t WritePage(FileUpdate& file, PageRows& bitmap, int32_t quality) noexcept
try {
    std::vector<uint8_t> bytes;
    return WriteRowFile(file, bitmap, MakeJpegFile(RowImageOf(bitmap), bytes, quality).get(), bytes);
} catch (const std::bad_alloc&) {
    return FIL_ERR_OUT_OF_MEMORY;
}

}  // namespace vorn::fil::jpeg
