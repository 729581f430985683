#include "tiff/Chain.h"

#include "tiff/Numbers.h"

namespace vorn::fil::tiff {
namespace {

int32_t ReadStart(NumberReader& reader, bool& big, uint64_t& first) noexcept
{
    uint64_t order = 0, magic = 0;
    if (const int32_t status = reader.Read(0, 2, order); status != FIL_SUCCESS)
        return status;
    reader.SetBigEndian(order == 0x4D4D);
    if (const int32_t status = reader.Read(2, 2, magic); status != FIL_SUCCESS)
        return status;
    if (magic != 42 && magic != 43)
        return FIL_ERR_CORRUPT;
    big = magic == 43;
    return big ? reader.Read(8, 8, first) : reader.Read(4, 4, first);
}

int32_t ReadNext(NumberReader& reader, const Widths& widths, uint64_t fileBytes, Chain& chain,
                 uint64_t& next) noexcept
{
    uint64_t entries = 0;
    if (const int32_t status = reader.Read(chain.offset, widths.count, entries); status != FIL_SUCCESS)
        return status;
    if (entries == 0 || entries > fileBytes / widths.entry)
        return FIL_ERR_CORRUPT;
    chain.nextAt = chain.offset + widths.count + entries * widths.entry;
    return reader.Read(chain.nextAt, widths.offset, next);
}

/** Walks as WalkChain does, and calls `visit` with the chain as it is at each directory. */
template <typename Visit>
int32_t Walk(ByteSource& source, uint32_t page, Chain& chain, Visit visit) noexcept
{
    NumberReader reader{source};
    uint64_t next = 0;
    if (const int32_t status = ReadStart(reader, chain.big, next); status != FIL_SUCCESS)
        return status;
    chain.bigEndian = reader.IsBigEndian();
    const Widths& widths = chain.big ? kBig : kClassic;

    // A circle comes back to a mark that is set anew at every power of two.
    uint64_t mark = 0;
    uint32_t nextMark = 1;
    while (next != 0 && (page == 0 || chain.pageCount < page)) {
        if (next == mark)
            return FIL_ERR_CORRUPT;
        chain.offset = next;
        if (++chain.pageCount == nextMark) {
            mark = next;
            nextMark *= 2;
        }
        if (const int32_t status = ReadNext(reader, widths, source.Size(), chain, next);
            status != FIL_SUCCESS)
            return status;
        if (const int32_t status = visit(chain); status != FIL_SUCCESS)
            return status;
    }
    if (chain.pageCount == 0)
        return FIL_ERR_CORRUPT;
    return chain.pageCount < page ? FIL_ERR_NO_SUCH_PAGE : FIL_SUCCESS;
}

}  // namespace

int32_t WalkChain(ByteSource& source, uint32_t page, Chain& chain) noexcept
{
    return Walk(source, page, chain, [](const Chain&) { return FIL_SUCCESS; });
}

int32_t FindEnd(ByteSource& source, Chain& chain) noexcept
{
    if (const int32_t status = WalkChain(source, 0, chain); status != FIL_SUCCESS)
        return status;
    const uint64_t width = (chain.big ? kBig : kClassic).offset, link = chain.nextAt;
    Chain again;
    return Walk(source, 0, again, [&](const Chain& at) {
        const bool inside = link + width > at.offset && link < at.nextAt + width;
        return inside && link != at.nextAt ? FIL_ERR_CORRUPT : FIL_SUCCESS;
    });
}

}  // namespace vorn::fil::tiff
