#include "TiffChain.h"

#include <algorithm>

namespace vorn::fil::tiff {
namespace {

/** Reads numbers in the file's byte order. What follows a number comes with it: most directories take one read. */
class NumberReader {
public:
    explicit NumberReader(ByteSource& source) noexcept : source_{source} {}

    void SetBigEndian(bool bigEndian) noexcept { bigEndian_ = bigEndian; }

    int32_t Read(uint64_t offset, uint32_t bytes, uint64_t& value) noexcept
    {
        if (offset < start_ || offset - start_ > filled_ || bytes > filled_ - (offset - start_))
            if (const int32_t status = Fill(offset, bytes); status != FIL_SUCCESS)
                return status;
        const uint8_t* const raw = buffer_ + (offset - start_);
        value = 0;
        for (uint32_t i = 0; i < bytes; ++i)
            value = value << 8 | raw[bigEndian_ ? i : bytes - 1 - i];
        return FIL_SUCCESS;
    }

private:
    int32_t Fill(uint64_t offset, uint32_t least) noexcept
    {
        const uint64_t size = source_.Size();
        filled_ = 0;
        if (offset > size || least > size - offset)
            return FIL_ERR_CORRUPT;
        const uint64_t count = std::min<uint64_t>(size - offset, sizeof buffer_);
        if (const int32_t status = source_.ReadAt(offset, buffer_, count); status != FIL_SUCCESS)
            return status;
        start_ = offset;
        filled_ = count;
        return FIL_SUCCESS;
    }

    ByteSource& source_;
    bool bigEndian_ = false;
    uint64_t start_ = 0;
    uint64_t filled_ = 0;
    uint8_t buffer_[256];
};

/** The sizes in which the two kinds of file count and point. */
struct Widths {
    uint32_t count, entry, offset;
};
constexpr Widths kClassic{2, 12, 4};
constexpr Widths kBig{8, 20, 8};

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

int32_t ReadNext(NumberReader& reader, const Widths& widths, uint64_t fileBytes, uint64_t at,
                 uint64_t& next) noexcept
{
    uint64_t entries = 0;
    if (const int32_t status = reader.Read(at, widths.count, entries); status != FIL_SUCCESS)
        return status;
    if (entries > fileBytes / widths.entry)
        return FIL_ERR_CORRUPT;
    return reader.Read(at + widths.count + entries * widths.entry, widths.offset, next);
}

}  // namespace

int32_t WalkChain(ByteSource& source, uint32_t page, Chain& chain) noexcept
{
    NumberReader reader{source};
    uint64_t next = 0;
    if (const int32_t status = ReadStart(reader, chain.big, next); status != FIL_SUCCESS)
        return status;
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
        if (const int32_t status = ReadNext(reader, widths, source.Size(), chain.offset, next);
            status != FIL_SUCCESS)
            return status;
    }
    if (chain.pageCount == 0)
        return FIL_ERR_CORRUPT;
    return chain.pageCount < page ? FIL_ERR_NO_SUCH_PAGE : FIL_SUCCESS;
}

}  // namespace vorn::fil::tiff
