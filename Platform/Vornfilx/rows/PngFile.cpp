#include <csetjmp>
#include <cstring>

#include <png.h>

#include "RowFile.h"
#include "Software.h"
#include "Vornkrnx.h"

namespace vorn::fil {

namespace {

class PngFile final : public RowFile {
public:
    PngFile(const RowImage& image, std::vector<uint8_t>& bytes, PngEffort effort)
        : image_{image}, bytes_{bytes}, effort_{effort}
    {
        const std::vector<uint8_t> palette = WholePalette(image);
        ramp_ = IsGreyRamp(palette);
        for (size_t i = 0; i < palette.size(); i += 4)
            palette_.push_back({palette[i + 2], palette[i + 1], palette[i]});
    }
    PngFile(const PngFile&) = delete;
    PngFile& operator=(const PngFile&) = delete;
    ~PngFile() override { png_destroy_write_struct(&codec_, &info_); }

    bool Begin() override
    {
        codec_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, Escape, KeepSilent);
        info_ = codec_ ? png_create_info_struct(codec_) : nullptr;
        return info_ && Guarded([this] {
                   png_set_write_fn(codec_, this, Append, Flush);
                   png_set_user_limits(codec_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
                   Describe();
                   png_write_info(codec_, info_);
                   png_set_bgr(codec_);
               });
    }

    bool WriteRows(const uint8_t* rows, uint32_t count, ptrdiff_t stride) override
    {
        return Guarded([this, rows, count, stride] {
            for (uint32_t i = 0; i < count; ++i)
                png_write_row(codec_, rows + stride * i);
            png_write_flush(codec_);
        });
    }

    bool End() override
    {
        return Guarded([this] { png_write_end(codec_, nullptr); });
    }

private:
    [[noreturn]] static void Escape(png_structp codec, png_const_charp)
    {
        std::longjmp(static_cast<PngFile*>(png_get_error_ptr(codec))->escape_, 1);
    }

    static void KeepSilent(png_structp, png_const_charp) {}
    static void Flush(png_structp) {}

    static void Append(png_structp codec, png_bytep data, size_t count)
    {
        if (!TryAppend(static_cast<PngFile*>(png_get_io_ptr(codec))->bytes_, data, count))
            png_error(codec, "out of memory");
    }

    /** Calls of the codec, which leaves them by a jump when it fails: they may hold nothing that has a destructor. */
    template <typename Calls>
    bool Guarded(Calls calls)
    {
        if (setjmp(escape_) != 0)  // NOLINT(cert-err52-cpp): the codec's way to report an error
            return false;
        calls();
        return true;
    }

    void Describe()
    {
        const bool color = image_.bitsPerPixel == 24;
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
        png_set_filter(codec_, PNG_FILTER_TYPE_BASE,
                       levels && effort_.filterLikeAbove ? PNG_FILTER_UP : PNG_FILTER_NONE);
        png_set_compression_level(codec_, effort_.level);
    }

    RowImage image_;
    std::vector<uint8_t>& bytes_;
    PngEffort effort_;
    bool ramp_ = false;  ///< no palette is needed
    std::vector<png_color> palette_;
    png_structp codec_ = nullptr;
    png_infop info_ = nullptr;
    std::jmp_buf escape_;
};

}  // namespace

std::unique_ptr<RowFile> MakePngFile(const RowImage& image, std::vector<uint8_t>& bytes, PngEffort effort)
{
    return std::make_unique<PngFile>(image, bytes, effort);
}

}  // namespace vorn::fil
