#include "Codec.h"

#include <algorithm>
#include <string_view>

namespace vorn::fil {
namespace {

const Codec* const kCodecs[] = {
    &bmpCodec,
    &tiffCodec,
    &jpegCodec,
    &pngCodec,
    &pdfCodec,
};

/** The extension of a name, without its dot and in lower case as far as it is ASCII; cut to what the table can hold. */
std::string_view ExtensionOf(const WCHAR* name, std::array<char, 8>& buffer) noexcept
{
    const std::basic_string_view<WCHAR> whole{name};
    const size_t dot = whole.find_last_of(VORN_TEXT("./\\"));
    if (dot == whole.npos || whole[dot] != '.' || whole.size() - dot - 1 > buffer.size())
        return {};
    size_t length = 0;
    for (const WCHAR unit : whole.substr(dot + 1)) {
        const bool upper = unit >= 'A' && unit <= 'Z';
        buffer[length++] = unit >= 0x80 ? '?' : static_cast<char>(upper ? unit - 'A' + 'a' : unit);
    }
    return {buffer.data(), length};
}

}  // namespace

const Codec* CodecOfFormat(int32_t format) noexcept
{
    for (const Codec* codec : kCodecs)
        if (codec->Format() == format)
            return codec;
    return nullptr;
}

const Codec* CodecOfContent(ByteSource& source) noexcept
{
    std::array<uint8_t, kStartBytes> start{};
    const size_t count = static_cast<size_t>(std::min<uint64_t>(source.Size(), start.size()));
    if (source.ReadAt(0, start.data(), count) != FIL_SUCCESS)
        return nullptr;
    for (const Codec* codec : kCodecs)
        if (codec->Recognizes({start.data(), count}))
            return codec;
    return nullptr;
}

const Codec* CodecOfName(const WCHAR* name) noexcept
{
    std::array<char, 8> buffer{};
    const std::string_view extension = ExtensionOf(name, buffer);
    for (const Codec* codec : kCodecs)
        for (const char* known : codec->Extensions())
            if (extension == known)
                return codec;
    return nullptr;
}

bool FitsBitmap(const PageInfo& page) noexcept
{
    return KrnRowBytes(page.width, page.bitsPerPixel) <= KRN_MAX_IMAGE_BYTES / page.height;
}

void SetGreyRamp(PageInfo& page) noexcept
{
    page.paletteCount = 1u << page.bitsPerPixel;
    for (uint32_t i = 0; i < page.paletteCount; ++i)
        std::fill_n(page.palette.begin() + i * kPaletteEntryBytes, 3,
                    static_cast<uint8_t>(i * 255 / (page.paletteCount - 1)));
}

int32_t NewImage::Create(const PageInfo& info) noexcept
{
    const int32_t status =
        KrnCreateBitmap(&bitmap_, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, info.width, info.height,
                        info.bitsPerPixel, KRN_COLOR_ORDER_BGR, nullptr, info.viewPerspective, nullptr, 0);
    if (status != KRN_SUCCESS)
        return FromKernel(status);
    bitmap_.xDpi = info.xDpi;
    bitmap_.yDpi = info.yDpi;
    if (bitmap_.palette) {
        // The record has room for every index of its depth: those past the page's table are black.
        bitmap_.paletteCount = info.paletteCount;
        std::memcpy(bitmap_.palette, info.palette.data(), size_t{kPaletteEntryBytes} << info.bitsPerPixel);
    }
    return FIL_SUCCESS;
}

int32_t NewImage::HandOver(BitmapHandle& bitmap) noexcept
{
    bitmap = bitmap_;
    bitmap_ = BitmapHandle{};
    return FIL_SUCCESS;
}

}  // namespace vorn::fil
