// Loads an input page by page, from a file and from memory: the two roads agree, and what was told of a page is what
// is loaded.
#include <cstring>

#include "Input.h"

using namespace vorn::fuzz;

namespace {

constexpr uint32_t kPages = 4;

/** Reads every byte of an image, so that one that was never written to, or lies outside, is seen. */
uint64_t Sum(const BitmapHandle& bitmap)
{
    uint64_t sum = 0;
    for (uint64_t i = 0; i < bitmap.imageBytes; ++i)
        sum += static_cast<const uint8_t*>(bitmap.image)[i];
    return sum;
}

void LoadPage(const InputFile& file, const uint8_t* data, size_t size, const FilFileInfo& info, uint32_t page)
{
    FilLoadOptions options;
    FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
    options.page = page;
    Bitmap fromFile, fromMemory;
    const int32_t status =
        FilLoad(file.Name(), &fromFile.record, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_ANY, &options, nullptr);
    const int32_t other = FilLoadMemory(data, &fromMemory.record, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_ANY,
                                        static_cast<int32_t>(size), &options, nullptr);
    Require(status == other);
    if (status != FIL_SUCCESS)
        return;
    Require(fromFile.record.width == info.width && fromFile.record.height == info.height);
    Require(fromFile.record.bitsPerPixel == info.bitsPerPixel);
    Require(fromFile.record.imageBytes == fromMemory.record.imageBytes);
    Require(Sum(fromFile.record) == Sum(fromMemory.record));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const InputFile file;
    file.Fill(data, size);

    FilFileInfo info{};
    if (!IsWorthwhile(file, 1, info)) {
        // Refused, or too large: the header alone is read from memory as well.
        Bitmap bitmap;
        if (info.format == FIL_FORMAT_UNKNOWN)
            FilLoadMemory(data, &bitmap.record, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_ANY,
                          static_cast<int32_t>(size), nullptr, nullptr);
        return 0;
    }
    if (info.format != VORN_FUZZ_FORMAT)
        return -1;
    const uint32_t pages = info.pageCount < kPages ? info.pageCount : kPages;
    for (uint32_t page = 1; page <= pages; ++page)
        if (IsWorthwhile(file, page, info))
            LoadPage(file, data, size, info, page);
    Require(KrnTrackedCount() == 0);
    return 0;
}
