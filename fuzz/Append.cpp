// Adds a page to an input as if it were a file of someone else's: either the file is left as it was, or its old pages are
// there and one more.
#include "Input.h"

using namespace vorn::fuzz;

namespace {

/** The page that is added; small, and the same for each input. */
const BitmapHandle& Page()
{
    static Bitmap page;
    if (!page.record.image)
        KrnCreateBitmap(&page.record, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, 9, 5, 1, KRN_COLOR_ORDER_BGR,
                        nullptr, KRN_VIEW_BOTTOM_LEFT, nullptr, 0);
    return page.record;
}

uint32_t CountPages(const InputFile& file)
{
    FilFileInfo info{};
    const int32_t status = FilInfo(file.Name(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr);
    return status == FIL_SUCCESS ? info.pageCount : 0;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const InputFile file;
    file.Fill(data, size);
    const uint32_t before = CountPages(file);
    const int32_t status = FilSave(file.Name(), &Page(), VORN_FUZZ_FORMAT, 0, FIL_SAVE_ADD_PAGE,
                                   FIL_COMPRESSION_DEFAULT, nullptr, nullptr, nullptr);
    const std::string bytes = file.Bytes();
    if (status != FIL_SUCCESS)
        Require(bytes == std::string(reinterpret_cast<const char*>(data), size));
    else if (before > 0)
        Require(CountPages(file) == before + 1);
    return 0;
}
