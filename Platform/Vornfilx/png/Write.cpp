#include <cstring>

#include <png.h>
#include <zlib.h>

#include "ImageWriter.h"
#include "LongJump.h"
#include "Software.h"
#include "Vornkrnx.h"

namespace vorn::fil {

namespace {

class PngWriter final : public ImageWriter {
public:
    PngWriter(const RowImage& image, std::vector<uint8_t>& bytes, PngStrategy strategy)
        : image_{image},
          bytes_{bytes},
          strategy_{strategy},
          rowBytes_{static_cast<size_t>((uint64_t{image.width} * image.bitsPerPixel + 7) / 8)}
    {
        const std::vector<uint8_t> palette = WholePalette(image);
        ramp_ = IsGreyRamp(palette);
        for (size_t i = 0; i < palette.size(); i += 4)
            palette_.push_back({palette[i + 2], palette[i + 1], palette[i]});
    }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;
    ~PngWriter() override { png_destroy_write_struct(&codec_, &info_); }

    bool Begin() override
    {
        codec_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, Escape, KeepSilent);
        info_ = codec_ ? png_create_info_struct(codec_) : nullptr;
        return info_ && Guarded([this] {
                   png_set_write_fn(codec_, this, Append, FlushNothing);
                   png_set_user_limits(codec_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
                   Describe();
                   png_write_info(codec_, info_);
                   png_set_bgr(codec_);
                   if (image_.bitsPerPixel == 32)
                       png_set_filler(codec_, 0, PNG_FILLER_AFTER);
               });
    }

    bool WriteRows(const uint8_t* rows, uint32_t count, ptrdiff_t stride) override
    {
        return Guarded([this, rows, count, stride] {
            for (uint32_t i = 0; i < count; ++i) {
                const uint8_t* const row = rows + stride * i;
                FilterAs(i > 0 && std::memcmp(row, row - stride, rowBytes_) == 0 ? PNG_FILTER_UP : filters_);
                png_write_row(codec_, row);
            }
        });
    }

    bool Flush() override
    {
        return Guarded([this] { png_write_flush(codec_); });
    }

    bool End() override
    {
        return Guarded([this] { png_write_end(codec_, nullptr); });
    }

private:
    [[noreturn]] static void Escape(png_structp codec, png_const_charp)
    {
        static_cast<PngWriter*>(png_get_error_ptr(codec))->jump_.Leave(FIL_ERR_OUT_OF_MEMORY);
    }

    static void KeepSilent(png_structp, png_const_charp) {}
    static void FlushNothing(png_structp) {}

    static void Append(png_structp codec, png_bytep data, size_t count)
    {
        if (!TryAppend(static_cast<PngWriter*>(png_get_io_ptr(codec))->bytes_, data, count))
            png_error(codec, "out of memory");
    }

    /** Calls of the codec, which leaves them by a jump when it fails: they may hold nothing that has a destructor. */
    template <typename Calls>
    bool Guarded(Calls calls)
    {
        const auto work = [calls] {
            calls();
            return FIL_SUCCESS;
        };
        return jump_.Guard(work) == FIL_SUCCESS;
    }

    void Describe()
    {
        const bool color = image_.bitsPerPixel >= 24;
        const int type = color ? PNG_COLOR_TYPE_RGB : ramp_ ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_PALETTE;
        png_set_IHDR(codec_, info_, image_.width, image_.height,
                     color ? 8 : static_cast<int>(image_.bitsPerPixel), type, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
        if (type == PNG_COLOR_TYPE_PALETTE)
            png_set_PLTE(codec_, info_, palette_.data(), static_cast<int>(palette_.size()));
        if (image_.xDpi > 0 && image_.yDpi > 0)
            png_set_pHYs(codec_, info_, static_cast<png_uint_32>(KrnPelsPerMeterFromDpi(image_.xDpi)),
                         static_cast<png_uint_32>(KrnPelsPerMeterFromDpi(image_.yDpi)), PNG_RESOLUTION_METER);
        char keyword[] = "Software", maker[sizeof kSoftware];
        std::memcpy(maker, kSoftware, sizeof kSoftware);
        png_text text{};
        text.compression = PNG_TEXT_COMPRESSION_NONE;
        text.key = keyword;
        text.text = maker;
        png_set_text(codec_, info_, &text, 1);
        const bool levels = color || (ramp_ && image_.bitsPerPixel == 8);  // and not indices of a palette
        filters_ = FiltersOf(strategy_.filter, levels);
        // The codec makes room for those that it is told of now.
        png_set_filter(codec_, PNG_FILTER_TYPE_BASE,
                       filters_ == PNG_FILTER_NONE ? filters_ : filters_ | PNG_FILTER_UP);
        if (strategy_.search == PngSearch::Runs)
            png_set_compression_strategy(codec_, Z_RLE);
        png_set_compression_level(codec_, strategy_.search == PngSearch::Runs ? 1 : strategy_.level);
    }

    static int FiltersOf(PngFilter filter, bool levels) noexcept
    {
        switch (filter) {
            case PngFilter::Up:
                return levels ? PNG_FILTER_UP : PNG_FILTER_NONE;
            case PngFilter::Paeth:
                return PNG_FILTER_PAETH;
            case PngFilter::Best:
                return PNG_ALL_FILTERS;
            case PngFilter::Usual:
                return levels ? PNG_ALL_FILTERS : PNG_FILTER_NONE;
            default:
                return PNG_FILTER_NONE;
        }
    }

    /** A row like the one above is zeros with Up: to find that out costs more than to be told. */
    void FilterAs(int filters)
    {
        if (filters_ == PNG_FILTER_NONE || filters == filtersNow_)
            return;
        png_set_filter(codec_, PNG_FILTER_TYPE_BASE, filters);
        filtersNow_ = filters;
    }

    RowImage image_;
    std::vector<uint8_t>& bytes_;
    PngStrategy strategy_;
    bool ramp_ = false;  ///< no palette is needed
    size_t rowBytes_;    ///< without the padding
    int filters_ = PNG_FILTER_NONE;
    int filtersNow_ = -1;
    std::vector<png_color> palette_;
    png_structp codec_ = nullptr;
    png_infop info_ = nullptr;
    LongJump jump_;
};

}  // namespace

std::unique_ptr<ImageWriter> CreatePngWriter(const RowImage& image, std::vector<uint8_t>& bytes,
                                             PngStrategy strategy)
{
    return std::make_unique<PngWriter>(image, bytes, strategy);
}

}  // namespace vorn::fil
