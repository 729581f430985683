#include "Codec.h"

#include <algorithm>
#include <string_view>

namespace vorn::fil {
namespace {

const Codec* const kCodecs[] = {
    &bmpCodec, &tiffCodec, &jpegCodec, &pngCodec, &pdfCodec,
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

}  // namespace vorn::fil
