#include "RotatedPage.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace vorn::wia {

namespace {

/** Copies one pixel of a depth from column `x` of a row to column `toX` of another. */
template <uint32_t Bits>
void CopyPixel(const uint8_t* row, uint32_t x, uint8_t* to, uint32_t toX) noexcept
{
    if constexpr (Bits >= 8) {
        constexpr uint32_t bytes = Bits / 8;
        std::memcpy(to + size_t{toX} * bytes, row + size_t{x} * bytes, bytes);
    } else {
        constexpr uint32_t perByte = 8 / Bits, mask = (1u << Bits) - 1;
        const uint32_t value = row[x / perByte] >> (perByte - 1 - x % perByte) * Bits & mask;
        to[toX / perByte] |= static_cast<uint8_t>(value << (perByte - 1 - toX % perByte) * Bits);
    }
}

class RotatedPage final : public Page {
public:
    RotatedPage(std::unique_ptr<Page> page, LONG rotation)
        : page_{std::move(page)}, rotation_{rotation}, geometry_{page_->Geometry()}
    {
        if (IsQuarterTurn(rotation)) {
            std::swap(geometry_.width, geometry_.height);
            std::swap(geometry_.xDpi, geometry_.yDpi);
        }
    }

    const PageGeometry& Geometry() const noexcept override { return geometry_; }

    HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder order) override
    {
        if (count > geometry_.height - nextRow_)
            return E_INVALIDARG;
        if (!image_) {
            if (const HRESULT result = Scan(); result != S_OK)
                return result;
        }
        std::memset(rows, 0, static_cast<size_t>(geometry_.RowBytes()) * count);
        switch (geometry_.bitsPerPixel) {
            case 1:
                Turn<1>(rows, count, order);
                break;
            case 4:
                Turn<4>(rows, count, order);
                break;
            case 8:
                Turn<8>(rows, count, order);
                break;
            default:
                Turn<24>(rows, count, order);
                break;
        }
        nextRow_ += count;
        return S_OK;
    }

private:
    /** The page as it lies on the glass, from the top down. */
    HRESULT Scan()
    {
        const PageGeometry& source = page_->Geometry();
        const uint64_t bytes = source.ImageBytes();
        std::unique_ptr<uint8_t[]> image{
            bytes <= SIZE_MAX ? new (std::nothrow) uint8_t[static_cast<size_t>(bytes)] : nullptr};
        if (!image)
            return E_OUTOFMEMORY;
        const HRESULT result = page_->ReadRows(image.get(), source.height, RowOrder::TopDown);
        if (result == S_OK)
            image_ = std::move(image);
        return result;
    }

    /** Pixel (x, y) of the turned page; row by row for the whole chunk, so that source rows are read once. */
    template <uint32_t Bits>
    void Turn(uint8_t* rows, uint32_t count, RowOrder order) const noexcept
    {
        const size_t rowBytes = static_cast<size_t>(geometry_.RowBytes());
        const size_t sourceBytes = static_cast<size_t>(page_->Geometry().RowBytes());
        const uint32_t lastX = geometry_.width - 1, lastY = geometry_.height - 1;
        for (uint32_t x = 0; x <= lastX; ++x) {
            for (uint32_t i = 0; i < count; ++i) {
                const uint32_t y = nextRow_ + i;
                uint8_t* row = rows + rowBytes * (order == RowOrder::TopDown ? i : count - 1 - i);
                uint32_t sourceX = lastX - x, sourceY = lastY - y;  // half a turn
                if (rotation_ == LANSCAPE) {
                    sourceX = lastY - y;
                    sourceY = x;
                } else if (rotation_ == ROT270) {
                    sourceX = y;
                    sourceY = lastX - x;
                }
                CopyPixel<Bits>(image_.get() + sourceBytes * sourceY, sourceX, row, x);
            }
        }
    }

    std::unique_ptr<Page> page_;
    LONG rotation_;
    PageGeometry geometry_;
    std::unique_ptr<uint8_t[]> image_;
    uint32_t nextRow_ = 0;
};

}  // namespace

std::unique_ptr<Page> Rotated(std::unique_ptr<Page> page, LONG rotation)
{
    if (rotation != ROT180 && !IsQuarterTurn(rotation))
        return page;
    return std::make_unique<RotatedPage>(std::move(page), rotation);
}

}  // namespace vorn::wia
