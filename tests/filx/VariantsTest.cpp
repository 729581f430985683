/*
 * JPEG and PNG files of others, which write what the file library reads and does not write itself.
 */
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>
#include <png.h>

#include "Pictures.h"

namespace vorn::test {
namespace {

struct JpegVariant {
    const char* name;
    J_COLOR_SPACE stored;
    bool progressive, arithmetic;
    std::array<uint8_t, 4> pixel;     // as the codec is given it
    std::array<uint8_t, 3> expected;  // blue, green, red
};
constexpr JpegVariant kJpegs[] = {
    {"progressive", JCS_YCbCr, true, false, {200, 100, 50}, {50, 100, 200}},
    {"arithmetic", JCS_YCbCr, false, true, {200, 100, 50}, {50, 100, 200}},
    {"progressive and arithmetic", JCS_YCbCr, true, true, {200, 100, 50}, {50, 100, 200}},
    {"stored as red, green, blue", JCS_RGB, false, false, {200, 100, 50}, {50, 100, 200}},
    {"inks", JCS_CMYK, false, false, {200, 100, 50, 128}, {25, 50, 100}},
    {"inks as brightness", JCS_YCCK, false, false, {200, 100, 50, 128}, {25, 50, 100}},
};

std::string WriteJpeg(const JpegVariant& variant)
{
    constexpr uint32_t kSide = 20;
    const bool ink = variant.stored == JCS_CMYK || variant.stored == JCS_YCCK;
    jpeg_compress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&codec, &bytes, &size);
    codec.image_width = codec.image_height = kSide;
    codec.input_components = ink ? 4 : 3;
    codec.in_color_space = ink ? JCS_CMYK : JCS_RGB;
    jpeg_set_defaults(&codec);
    jpeg_set_colorspace(&codec, variant.stored);
    jpeg_set_quality(&codec, 100, TRUE);
    if (variant.progressive)
        jpeg_simple_progression(&codec);
    codec.arith_code = variant.arithmetic;
    codec.write_Adobe_marker = ink;
    jpeg_start_compress(&codec, TRUE);
    std::vector<uint8_t> row;
    for (uint32_t x = 0; x < kSide; ++x)
        row.insert(row.end(), variant.pixel.begin(), variant.pixel.begin() + codec.input_components);
    for (uint32_t y = 0; y < kSide; ++y) {
        JSAMPROW samples = row.data();
        jpeg_write_scanlines(&codec, &samples, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    std::string file(bytes, bytes + size);
    std::free(bytes);
    return file;
}

TEST(Variants, OfJpegAreReadWholeOrNotAtAll)
{
    for (const JpegVariant& variant : kJpegs) {
        SCOPED_TRACE(variant.name);
        const std::string file = WriteJpeg(variant);
        Picture picture;
        ASSERT_EQ(LoadBytes(file, picture), FIL_SUCCESS);
        for (size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(picture.ColorAt(19, 10)[i], variant.expected[i], 2);
        for (size_t size = 3; size < file.size(); ++size)
            ASSERT_EQ(LoadBytes(std::string_view{file}.substr(0, size), picture), FIL_ERR_CORRUPT) << size;
    }
}

TEST(Variants, OfJpegWithScansWithoutEndAreRefused)
{
    const std::string file = WriteJpeg(kJpegs[0]);
    const size_t first = file.find("\xFF\xDA"), last = file.rfind("\xFF\xDA");
    std::string endless = file.substr(0, file.size() - 2);
    for (int i = 0; i < 200; ++i)
        endless += file.substr(last, file.size() - 2 - last);
    Picture picture;
    EXPECT_EQ(LoadBytes(endless + "\xFF\xD9", picture), FIL_ERR_UNSUPPORTED);
    EXPECT_EQ(LoadBytes(file.substr(0, first) + file.substr(last), picture), FIL_ERR_CORRUPT)
        << "no scan brings all of the colours";
}

struct PngVariant {
    const char* name;
    int type, bits, interlace;
    bool keyed;  ///< one value, or the palette's entry 1, is see-through
    uint32_t expectedBits;
    std::array<uint8_t, 3> expected;  // blue, green, red of the second pixel
};
/** Samples count up: the second pixel of a grey row is 1, of a colour row 3, 4, 5; of 16 bits both bytes are that. */
constexpr PngVariant kPngs[] = {
    {"grey, 2 bits", PNG_COLOR_TYPE_GRAY, 2, 0, false, 8, {85, 85, 85}},
    {"grey, 16 bits", PNG_COLOR_TYPE_GRAY, 16, 0, false, 8, {1, 1, 1}},
    {"grey, 4 bits, a colour is see-through", PNG_COLOR_TYPE_GRAY, 4, 0, true, 8, {255, 255, 255}},
    {"grey, alpha", PNG_COLOR_TYPE_GA, 8, 0, false, 8, {252, 252, 252}},
    {"palette, 2 bits", PNG_COLOR_TYPE_PALETTE, 2, 0, false, 8, {30, 20, 10}},
    {"palette, 4 bits, interlaced", PNG_COLOR_TYPE_PALETTE, 4, 1, false, 4, {30, 20, 10}},
    {"palette, an entry is see-through", PNG_COLOR_TYPE_PALETTE, 8, 0, true, 8, {255, 255, 255}},
    {"colour, interlaced", PNG_COLOR_TYPE_RGB, 8, 1, false, 24, {5, 4, 3}},
    {"colour, 16 bits", PNG_COLOR_TYPE_RGB, 16, 0, false, 24, {5, 4, 3}},
    {"colour, 16 bits, a colour is see-through", PNG_COLOR_TYPE_RGB, 16, 0, true, 24, {255, 255, 255}},
    {"colour, alpha, interlaced", PNG_COLOR_TYPE_RGBA, 8, 1, false, 24, {248, 248, 248}},
    {"colour, alpha, 16 bits", PNG_COLOR_TYPE_RGBA, 16, 0, false, 24, {248, 248, 248}},
};

void Append(png_structp codec, png_bytep data, size_t count)
{
    static_cast<std::string*>(png_get_io_ptr(codec))->append(reinterpret_cast<char*>(data), count);
}

std::string WritePng(const PngVariant& variant)
{
    constexpr uint32_t kWidth = 11, kHeight = 9;
    std::string file;
    png_structp codec = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(codec);
    png_set_write_fn(codec, &file, Append, nullptr);
    png_set_IHDR(codec, info, kWidth, kHeight, variant.bits, variant.type, variant.interlace, 0, 0);
    png_color palette[4] = {{0, 0, 0}, {10, 20, 30}, {1, 2, 3}, {4, 5, 6}};
    if (variant.type == PNG_COLOR_TYPE_PALETTE)
        png_set_PLTE(codec, info, palette, 4);
    png_byte alphas[2] = {255, 0};
    const png_color_16 key{0, 3 * 257, 4 * 257, 5 * 257, 1};
    if (variant.keyed)
        png_set_tRNS(codec, info, alphas, 2, &key);
    png_write_info(codec, info);
    std::vector<uint8_t> row(png_get_rowbytes(codec, info));
    for (size_t i = 0; i < row.size(); ++i)
        row[i] = static_cast<uint8_t>(variant.bits == 16 ? i / 2 : i);
    if (variant.bits == 2)
        row[0] = 0x18;  // 0, 1, 2, 0
    if (variant.bits == 4)
        row.assign(row.size(), 0x01);
    if (variant.type == PNG_COLOR_TYPE_PALETTE && variant.bits == 8)
        row.assign(row.size(), 1);
    std::vector<uint8_t*> rows(kHeight, row.data());
    png_write_image(codec, rows.data());
    png_write_end(codec, info);
    png_destroy_write_struct(&codec, &info);
    return file;
}

TEST(Variants, OfPngAreReadWholeOrNotAtAll)
{
    for (const PngVariant& variant : kPngs) {
        SCOPED_TRACE(variant.name);
        const std::string file = WritePng(variant);
        Picture picture;
        ASSERT_EQ(LoadBytes(file, picture), FIL_SUCCESS);
        EXPECT_EQ(picture.record.bitsPerPixel, variant.expectedBits);
        EXPECT_EQ(picture.ColorAt(1, 8), variant.expected);
        for (size_t i = 8; i < file.size(); ++i) {
            ASSERT_EQ(LoadBytes(std::string_view{file}.substr(0, i), picture), FIL_ERR_CORRUPT) << i;
            std::string damaged = file;
            damaged[i] = static_cast<char>(damaged[i] ^ 0x10);
            ASSERT_LT(LoadBytes(damaged, picture), 0) << "byte " << i << " is other than it was";
        }
    }
}

}  // namespace
}  // namespace vorn::test
