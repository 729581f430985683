#include "pdf/External.h"

#include <algorithm>
#include <cstdio>

#ifdef VORN_PDF_LIBRARY
#include "Sibling.h"
#endif

namespace vorn::fil::pdf {
namespace {

int32_t Read(ByteSource& source, BaseRevision* before, uint32_t page, PageArea& area)
{
#ifdef VORN_PDF_LIBRARY
    static constinit SiblingFunction<decltype(VornReadExternalPdf)> function{VORN_PDF_LIBRARY,
                                                                             "VornReadExternalPdf"};
    const auto read = function.In(reinterpret_cast<const void*>(&Read));
    return read ? read(source, before, page, area) : FIL_ERR_UNSUPPORTED;
#else
    return VornReadExternalPdf(source, before, page, area);
#endif
}

/** Finds the newest table as every reader does: by the last word of its kind near the end. */
int32_t FindTable(ByteSource& source, Document& document)
{
    constexpr uint64_t kNearEnd = 1024;
    std::string text(static_cast<size_t>(std::min(kNearEnd, source.Size())), 0);
    if (const int32_t status = source.ReadAt(source.Size() - text.size(), text.data(), text.size());
        status != FIL_SUCCESS)
        return status;
    const size_t at = text.rfind("startxref");
    unsigned long long offset = 0;
    char before[2], behind[2], first = 0;
    if (at == text.npos ||
        std::sscanf(text.c_str() + at, "startxref%1[ \t\r\n]%llu%1[ \t\r\n]", before, &offset, behind) != 3 ||
        offset == 0 || offset >= source.Size())
        return FIL_ERR_CORRUPT;
    const int32_t status = source.ReadAt(offset, &first, 1);
    document.tableAt = offset;
    document.streams = first >= '0' && first <= '9';  // an object's number
    return status != FIL_SUCCESS || document.streams || first == kTable[0] ? status : FIL_ERR_CORRUPT;
}

}  // namespace

int32_t ReadExternal(ByteSource& source, Document& document) noexcept
try {
    document = Document{};
    int32_t status = FindTable(source, document);
    PageArea none;
    if (status == FIL_SUCCESS)
        status = Read(source, &document.before, 0, none);
    if (status == FIL_SUCCESS && document.before.nextObject > kMostObjects)
        return FIL_ERR_TOO_LARGE;
    document.firstObject = static_cast<uint32_t>(document.before.nextObject);
    return status;
} catch (const std::bad_alloc&) {
    return FIL_ERR_OUT_OF_MEMORY;
}

int32_t ReadExternalPage(ByteSource& source, uint32_t page, PageInfo& info) noexcept
try {
    PageArea area;
    const int32_t status = Read(source, nullptr, page, area);
    info.width = area.width;
    info.height = area.height;
    info.xDpi = info.yDpi = 72;
    return status;
} catch (const std::bad_alloc&) {
    return FIL_ERR_OUT_OF_MEMORY;
}

}  // namespace vorn::fil::pdf
