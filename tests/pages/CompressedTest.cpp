// JPEG and PNG pages, seen by the codecs themselves.
#include <cstdio>

#include <jpeglib.h>
#include <png.h>

#include "Pages.h"

namespace vorn::wia {
namespace {

/** What a file shows, in 24 bits; its own depth and whether it is grey are told apart. */
struct Shown {
    CannedPage page;
    uint32_t bits = 0;
    bool grey = false;
};

CannedPage Colors(uint32_t width, uint32_t height)
{
    CannedPage page;
    page.geometry = {width, height, 24, 0, 0, {}};
    page.pixels.resize(page.geometry.ImageBytes());
    return page;
}

uint32_t BigEndian(const std::string& bytes, size_t at)
{
    uint32_t number = 0;
    for (size_t i = 0; i < 4; ++i)
        number = number << 8 | static_cast<uint8_t>(bytes.at(at + i));
    return number;
}

Shown ShownByPng(const std::string& bytes)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_TRUE(png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) << image.message;
    Shown shown{Colors(image.width, image.height)};
    shown.bits = static_cast<uint8_t>(bytes[24]) * (bytes[25] == PNG_COLOR_TYPE_RGB ? 3u : 1u);
    shown.grey = bytes[25] == PNG_COLOR_TYPE_GRAY;
    if (const size_t chunk = bytes.find("pHYs"); chunk != std::string::npos) {
        shown.page.geometry.xDpi = KrnDpiFromPelsPerMeter(static_cast<int32_t>(BigEndian(bytes, chunk + 4)));
        shown.page.geometry.yDpi = KrnDpiFromPelsPerMeter(static_cast<int32_t>(BigEndian(bytes, chunk + 8)));
    }
    image.format = PNG_FORMAT_BGR;
    const auto stride = -static_cast<png_int_32>(shown.page.geometry.RowBytes());
    EXPECT_TRUE(png_image_finish_read(&image, nullptr, shown.page.pixels.data(), stride, nullptr))
        << image.message;
    EXPECT_EQ(image.warning_or_error, 0u) << image.message;
    return shown;
}

Shown ShownByJpeg(const std::string& bytes)
{
    jpeg_decompress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);  // ends the program at an error
    jpeg_create_decompress(&codec);
    jpeg_mem_src(&codec, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    jpeg_read_header(&codec, TRUE);
    Shown shown{Colors(codec.image_width, codec.image_height)};
    shown.bits = static_cast<uint32_t>(codec.num_components) * 8;
    shown.grey = codec.jpeg_color_space == JCS_GRAYSCALE;
    if (codec.density_unit == 1) {
        shown.page.geometry.xDpi = codec.X_density;
        shown.page.geometry.yDpi = codec.Y_density;
    }
    codec.out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(&codec);
    while (codec.output_scanline < codec.output_height) {
        const size_t row = codec.output_height - 1 - codec.output_scanline;
        JSAMPLE* samples = shown.page.pixels.data() + row * shown.page.geometry.RowBytes();
        jpeg_read_scanlines(&codec, &samples, 1);
    }
    jpeg_finish_decompress(&codec);
    EXPECT_EQ(errors.num_warnings, 0);
    jpeg_destroy_decompress(&codec);
    return shown;
}

struct Kind {
    const char* name;
    CannedPage page;
    uint32_t pngBits, jpegBits;
    bool pngGrey;
};

std::vector<Kind> Kinds()
{
    const PaletteEntry black{0, 0, 0, 0}, white{255, 255, 255, 0};
    std::vector<Kind> kinds{
        {"1 bit", Noise(33, 9, 1, {black, white}), 1, 8, true},
        {"1 bit, white first", Noise(33, 9, 1, {white, black}), 1, 8, false},
        {"1 bit in colour", Noise(7, 9, 1, ColorfulPalette(2)), 1, 24, false},
        {"4 bits", Noise(7, 9, 4, ColorfulPalette(16)), 4, 24, false},
        {"8 bits, no palette", Noise(50, 9, 8), 8, 8, true},
        {"8 bits, short palette", Noise(7, 9, 8, ColorfulPalette(5)), 8, 24, false},
        {"24 bits", Noise(33, 9, 24), 24, 24, false},
        {"resolution not known", Noise(6, 5, 8), 8, 8, true},
    };
    kinds.back().page.geometry.xDpi = kinds.back().page.geometry.yDpi = 0;
    return kinds;
}

/** Makes a page of one colour, since details of a JPEG picture are lost. */
void MakePlain(CannedPage& page)
{
    const uint32_t rowBytes = static_cast<uint32_t>(page.geometry.RowBytes());
    for (size_t i = 0; i < page.pixels.size(); ++i) {
        if (page.geometry.bitsPerPixel < 8)
            page.pixels[i] = 0xFF;
        else
            page.pixels[i] = page.pixels[page.geometry.bitsPerPixel == 24 ? i % rowBytes % 3 : 0];
    }
}

uint32_t Distance(uint32_t left, uint32_t right)
{
    uint32_t distance = 0;
    for (const int shift : {0, 8, 16})
        distance = std::max(
            distance, static_cast<uint32_t>(std::abs(int(left >> shift & 255) - int(right >> shift & 255))));
    return distance;
}

// Catches wrong depth, polarity, palette, row and colour order, and chunks that lose a row.
TEST(CompressedPage, ShowsThePictureThatThePageHad)
{
    for (Kind& kind : Kinds()) {
        for (const bool png : {true, false}) {
            if (!png)
                MakePlain(kind.page);
            for (const uint32_t chunk : {1u, 97u, 0xFFFFFFFFu}) {
                SCOPED_TRACE(testing::Message()
                             << kind.name << (png ? ", PNG" : ", JPEG") << ", chunks of " << chunk);
                kind.page.ready = chunk == 97;
                CheckedSink sink;
                const auto encoder = MakePageEncoder(png ? WiaImgFmt_PNG : WiaImgFmt_JPEG);
                ASSERT_EQ(encoder->Encode(*PageOf(kind.page), sink, chunk), S_OK);
                EXPECT_EQ(sink.total, PageSink::kUnknownBytes);
                EXPECT_EQ(sink.written, sink.bytes.size());
                EXPECT_EQ(sink.lastPercent, 100u);
                EXPECT_NE(sink.bytes.find("vornwia "), std::string::npos) << "nobody made it";

                const Shown shown = png ? ShownByPng(sink.bytes) : ShownByJpeg(sink.bytes);
                const PageGeometry &got = shown.page.geometry, &wanted = kind.page.geometry;
                ASSERT_EQ(std::tie(got.width, got.height, got.xDpi, got.yDpi),
                          std::tie(wanted.width, wanted.height, wanted.xDpi, wanted.yDpi));
                EXPECT_EQ(shown.bits, png ? kind.pngBits : kind.jpegBits);
                EXPECT_EQ(shown.grey, png ? kind.pngGrey : kind.jpegBits == 8);
                for (uint32_t y = 0; y < wanted.height; ++y)
                    for (uint32_t x = 0; x < wanted.width; ++x)
                        ASSERT_LE(Distance(ColorAt(shown.page, x, y), ColorAt(kind.page, x, y)),
                                  png ? 0u : 4u)
                            << "pixel " << x << ", " << y;
            }
        }
    }
}

TEST(CompressedPage, EndsWithTheAnswerOfASinkOrAPage)
{
    for (const GUID& format : {WiaImgFmt_PNG, WiaImgFmt_JPEG}) {
        CannedPage page = Noise(50, 40, 24);
        page.ready = false;
        for (uint32_t call = 1; call <= 5; ++call) {
            CheckedSink sink;
            sink.failAtCall = call;
            EXPECT_EQ(MakePageEncoder(format)->Encode(*PageOf(page), sink, 152), S_FALSE);
            EXPECT_EQ(sink.calls, call);
        }
        page.failure = WIA_ERROR_PAPER_JAM;
        page.rowsBeforeFailure = 20;
        CheckedSink sink;
        EXPECT_EQ(MakePageEncoder(format)->Encode(*PageOf(page), sink, 152), WIA_ERROR_PAPER_JAM);
        CheckedSink none;
        EXPECT_EQ(MakePageEncoder(format)->Encode(*PageOf(page), none, 0), E_INVALIDARG);
        EXPECT_EQ(none.calls, 0u);
    }
    const PageGeometry wide{65501, 1, 1, 0, 0, {}};
    EXPECT_EQ(MakePageEncoder(WiaImgFmt_JPEG)->EncodedBytes(wide), 0u) << "the format has no such width";
    EXPECT_NE(MakePageEncoder(WiaImgFmt_PNG)->EncodedBytes(wide), 0u);
}

}  // namespace
}  // namespace vorn::wia
