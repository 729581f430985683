/*
 * Reading a PNG file by libpng.
 */
#include <algorithm>

#include <png.h>

#include "LongJump.h"
#include "io/ChunkReader.h"
#include "pixels/Pixels.h"
#include "png/Pages.h"

namespace vorn::fil::png {
namespace {

/** Chunks that say nothing that a bitmap keeps; some of them are compressed, and could be made to take long. */
constexpr png_byte kSkippedChunks[] =
    "iCCP\0tEXt\0zTXt\0iTXt\0sPLT\0eXIf\0hIST\0pCAL\0sCAL\0tIME\0gAMA\0cHRM\0sRGB";

/** libpng on a source. The object stays where it is: libpng calls it back. */
class Decoder {
public:
    explicit Decoder(ByteSource& source) noexcept : source_{source}, chunks_{source} {}
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { png_destroy_read_struct(&codec_, &info_, nullptr); }

    int32_t Start() noexcept;
    const PageInfo& Page() const noexcept { return page_; }
    int32_t ReadRows(const NewImage& image) noexcept;

private:
    void ReadHeader() noexcept;
    void TakeGeometry() noexcept;
    void ReadResolution() noexcept;
    void ReadPalette() noexcept;
    void UnpackTwoBits() noexcept;
    void ComposeOverWhite() noexcept;

    [[noreturn]] static void OnError(png_structp codec, png_const_charp);
    static void KeepSilent(png_structp, png_const_charp) {}
    static void Read(png_structp codec, png_bytep to, size_t count);
    static png_voidp Allocate(png_structp codec, png_alloc_size_t bytes);
    static void Free(png_structp, png_voidp block) { KrnFree(block, __LINE__, "Vornfilx/PngRead"); }

    ByteSource& source_;
    ChunkReader chunks_;
    const uint8_t* next_ = nullptr;
    size_t left_ = 0;
    LongJump jump_;
    int32_t status_ = FIL_ERR_CORRUPT;  ///< what an error means
    png_structp codec_ = nullptr;
    png_infop info_ = nullptr;
    PageInfo page_;
};

void Decoder::OnError(png_structp codec, png_const_charp)
{
    Decoder& self = *static_cast<Decoder*>(png_get_error_ptr(codec));
    self.jump_.Leave(self.status_);
}

png_voidp Decoder::Allocate(png_structp codec, png_alloc_size_t bytes)
{
    void* const block = KrnAlloc(bytes, 1, __LINE__, "Vornfilx/PngRead");
    if (!block)
        static_cast<Decoder*>(png_get_mem_ptr(codec))->status_ = FIL_ERR_OUT_OF_MEMORY;
    return block;
}

void Decoder::Read(png_structp codec, png_bytep to, size_t count)
{
    Decoder& self = *static_cast<Decoder*>(png_get_io_ptr(codec));
    while (count > 0) {
        if (self.left_ == 0)
            if (const int32_t status = self.chunks_.Next(self.next_, self.left_); status != FIL_SUCCESS)
                self.jump_.Leave(status);
        const size_t piece = std::min(count, self.left_);
        to = std::copy_n(self.next_, piece, to);
        self.next_ += piece;
        self.left_ -= piece;
        count -= piece;
    }
}

int32_t Decoder::Start() noexcept
{
    return jump_.Guard([this] {
        codec_ =
            png_create_read_struct_2(PNG_LIBPNG_VER_STRING, this, OnError, KeepSilent, this, Allocate, Free);
        info_ = codec_ ? png_create_info_struct(codec_) : nullptr;
        if (!info_)
            return FIL_ERR_OUT_OF_MEMORY;
        png_set_read_fn(codec_, this, Read);
        png_set_user_limits(codec_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_set_crc_action(codec_, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
        png_set_keep_unknown_chunks(codec_, PNG_HANDLE_CHUNK_NEVER, kSkippedChunks,
                                    sizeof kSkippedChunks / 5);
        ReadHeader();
        return FIL_SUCCESS;
    });
}

/** Runs under Guard, as what it calls: owns nothing. */
void Decoder::ReadHeader() noexcept
{
    png_read_info(codec_, info_);
    TakeGeometry();
    ReadResolution();
    if (png_get_color_type(codec_, info_) == PNG_COLOR_TYPE_PALETTE)
        ReadPalette();
    else if (page_.bitsPerPixel <= 8)
        SetGreyRamp(page_);
    if (page_.storedBits == 2)
        UnpackTwoBits();
    ComposeOverWhite();
    png_set_scale_16(codec_);
    png_set_bgr(codec_);
}

void Decoder::TakeGeometry() noexcept
{
    const uint32_t depth = png_get_bit_depth(codec_, info_);
    const bool palette = png_get_color_type(codec_, info_) == PNG_COLOR_TYPE_PALETTE;
    const bool color = !palette && (png_get_color_type(codec_, info_) & PNG_COLOR_MASK_COLOR);
    const bool keyed = !palette && png_get_valid(codec_, info_, PNG_INFO_tRNS);
    page_.width = png_get_image_width(codec_, info_);
    page_.height = png_get_image_height(codec_, info_);
    page_.storedBits = depth * png_get_channels(codec_, info_);
    page_.bitsPerPixel = color ? 24 : depth == 2 || depth == 16 || keyed ? 8 : depth;
    if (!FitsBitmap(page_))
        jump_.Leave(FIL_ERR_TOO_LARGE);
    if (IsTooShort(source_.Size(), page_))
        jump_.Leave(FIL_ERR_CORRUPT);
}

void Decoder::ReadResolution() noexcept
{
    png_uint_32 x = 0, y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    if (!png_get_pHYs(codec_, info_, &x, &y, &unit) || unit != PNG_RESOLUTION_METER || x > INT32_MAX ||
        y > INT32_MAX)
        return;
    page_.xDpi = KrnDpiFromPelsPerMeter(static_cast<int32_t>(x));
    page_.yDpi = KrnDpiFromPelsPerMeter(static_cast<int32_t>(y));
}

/** The palette, its see-through entries over white. */
void Decoder::ReadPalette() noexcept
{
    png_colorp colors = nullptr;
    png_bytep alphas = nullptr;
    int count = 0, alphaCount = 0;
    png_get_PLTE(codec_, info_, &colors, &count);
    png_get_tRNS(codec_, info_, &alphas, &alphaCount, nullptr);
    page_.paletteCount = std::min(static_cast<uint32_t>(std::max(count, 0)), 1u << page_.bitsPerPixel);
    for (uint32_t i = 0; i < page_.paletteCount; ++i) {
        const uint32_t alpha = alphas && static_cast<int>(i) < alphaCount ? alphas[i] : 255;
        uint8_t* const entry = page_.palette.data() + i * kPaletteEntryBytes;
        entry[0] = BlendOverWhite(colors[i].blue, alpha);
        entry[1] = BlendOverWhite(colors[i].green, alpha);
        entry[2] = BlendOverWhite(colors[i].red, alpha);
    }
}

/** A bitmap has no such depth. */
void Decoder::UnpackTwoBits() noexcept
{
    if (png_get_color_type(codec_, info_) == PNG_COLOR_TYPE_PALETTE)
        png_set_packing(codec_);
    else
        png_set_expand_gray_1_2_4_to_8(codec_);
}

/** A bitmap has no place for what lies behind a picture. */
void Decoder::ComposeOverWhite() noexcept
{
    const bool palette = png_get_color_type(codec_, info_) == PNG_COLOR_TYPE_PALETTE;
    const bool alpha = png_get_color_type(codec_, info_) & PNG_COLOR_MASK_ALPHA;
    if (palette || !(alpha || png_get_valid(codec_, info_, PNG_INFO_tRNS)))
        return;
    constexpr png_uint_16 kMost = 255;  // libpng composes what has 16 bits after it is scaled to 8
    const png_color_16 white{0, kMost, kMost, kMost, kMost};
    png_set_expand(codec_);
    png_set_background_fixed(codec_, &white, PNG_BACKGROUND_GAMMA_SCREEN, 0, PNG_FP_1);
}

int32_t Decoder::ReadRows(const NewImage& image) noexcept
{
    return jump_.Guard([this, &image] {
        const int passes = png_set_interlace_handling(codec_);
        png_read_update_info(codec_, info_);
        // Rows are decoded in place.
        if (png_get_rowbytes(codec_, info_) != (uint64_t{page_.width} * page_.bitsPerPixel + 7) / 8)
            return FIL_ERR_UNSUPPORTED;
        for (int pass = 0; pass < passes; ++pass)
            for (uint32_t y = page_.height; y-- > 0;)
                png_read_row(codec_, image.Row(y), nullptr);
        png_read_end(codec_, nullptr);
        return FIL_SUCCESS;
    });
}

}  // namespace

int32_t ReadInfo(ByteSource& source, PageInfo& info) noexcept
{
    Decoder decoder{source};
    const int32_t status = decoder.Start();
    if (status == FIL_SUCCESS)
        info = decoder.Page();
    return status;
}

int32_t Load(ByteSource& source, BitmapHandle& bitmap) noexcept
{
    Decoder decoder{source};
    if (const int32_t status = decoder.Start(); status != FIL_SUCCESS)
        return status;
    NewImage image;
    if (const int32_t status = image.Create(decoder.Page()); status != FIL_SUCCESS)
        return status;
    if (const int32_t status = decoder.ReadRows(image); status != FIL_SUCCESS)
        return status;
    return image.HandOver(bitmap);
}

}  // namespace vorn::fil::png
