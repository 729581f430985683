#include "BareCodecs.h"

#include <benchmark/benchmark.h>

#include <jpeglib.h>
#include <png.h>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>

#include "FreshBlock.h"
#include "Vornfilx.h"

namespace vorn::bench {
namespace {

namespace fs = std::filesystem;

struct CloseFile {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

FilePtr Open(const fs::path& name, const char* mode)
{
    FilePtr file{std::fopen(name.c_str(), mode)};
    if (!file)
        throw std::runtime_error{"cannot open " + name.string()};
    std::setvbuf(file.get(), nullptr, _IOFBF, 64 * 1024);
    return file;
}

// ---- BMP: a header and the rows as they are ------------------------------------------------------

constexpr size_t kBmpHeaderBytes = 54;

void SaveBmp(const BitmapHandle& page, const fs::path& name)
{
    const FilePtr file = Open(name, "wb");
    const char header[kBmpHeaderBytes] = {'B', 'M'};
    if (std::fwrite(header, sizeof header, 1, file.get()) != 1 ||
        std::fwrite(page.image, page.imageBytes, 1, file.get()) != 1)
        throw std::runtime_error{"cannot write " + name.string()};
}

void LoadBmp(const BitmapHandle& page, const fs::path& name)
{
    const FilePtr file = Open(name, "rb");
    const FreshBlock rows{page.imageBytes, Memory::HugePages};
    char header[kBmpHeaderBytes];
    if (std::fread(header, sizeof header, 1, file.get()) != 1 ||
        std::fread(rows.Data(), page.imageBytes, 1, file.get()) != 1)
        throw std::runtime_error{"cannot read " + name.string()};
    benchmark::ClobberMemory();
}

// ---- JPEG and PNG: the codec's usual settings, but for the quality and the resolution of colours -----------

uint8_t* RowFromTop(uint8_t* image, const BitmapHandle& page, uint32_t y)
{
    return image + uint64_t{page.height - 1 - y} * page.rowBytes;
}

void SaveJpeg(const BitmapHandle& page, const fs::path& name)
{
    const FilePtr file = Open(name, "wb");
    jpeg_compress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    jpeg_stdio_dest(&codec, file.get());
    codec.image_width = page.width;
    codec.image_height = page.height;
    codec.input_components = 3;
    codec.in_color_space = JCS_EXT_BGR;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, 90, TRUE);
    codec.comp_info[0].h_samp_factor = codec.comp_info[0].v_samp_factor = 1;
    jpeg_start_compress(&codec, TRUE);
    for (uint32_t y = 0; y < page.height; ++y) {
        JSAMPROW row = RowFromTop(static_cast<uint8_t*>(page.image), page, y);
        jpeg_write_scanlines(&codec, &row, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
}

void LoadJpeg(const BitmapHandle& page, const fs::path& name)
{
    const FilePtr file = Open(name, "rb");
    const FreshBlock image{page.imageBytes, Memory::HugePages};
    jpeg_decompress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&codec);
    jpeg_stdio_src(&codec, file.get());
    jpeg_read_header(&codec, TRUE);
    codec.out_color_space = JCS_EXT_BGR;
    jpeg_start_decompress(&codec);
    while (codec.output_scanline < codec.output_height) {
        JSAMPROW row = RowFromTop(image.Data(), page, codec.output_scanline);
        jpeg_read_scanlines(&codec, &row, 1);
    }
    jpeg_finish_decompress(&codec);
    jpeg_destroy_decompress(&codec);
}

void SavePng(const BitmapHandle& page, const fs::path& name)
{
    const FilePtr file = Open(name, "wb");
    png_structp codec = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(codec);
    png_init_io(codec, file.get());
    const bool color = page.bitsPerPixel == 24;
    png_set_IHDR(codec, info, page.width, page.height, color ? 8 : static_cast<int>(page.bitsPerPixel),
                 color ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_BASE, PNG_FILTER_TYPE_BASE);
    png_write_info(codec, info);
    png_set_bgr(codec);
    for (uint32_t y = 0; y < page.height; ++y)
        png_write_row(codec, RowFromTop(static_cast<uint8_t*>(page.image), page, y));
    png_write_end(codec, info);
    png_destroy_write_struct(&codec, &info);
}

void LoadPng(const BitmapHandle& page, const fs::path& name)
{
    const FilePtr file = Open(name, "rb");
    const FreshBlock image{page.imageBytes, Memory::HugePages};
    png_structp codec = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(codec);
    png_init_io(codec, file.get());
    png_read_info(codec, info);
    png_set_bgr(codec);
    for (uint32_t y = 0; y < page.height; ++y)
        png_read_row(codec, RowFromTop(image.Data(), page, y), nullptr);
    png_read_end(codec, nullptr);
    png_destroy_read_struct(&codec, &info, nullptr);
}

constexpr BareCodec kBareCodecs[] = {
    {"BMP", FIL_FORMAT_BMP, FIL_COMPRESSION_DEFAULT, Pages::All, true, "write", SaveBmp, "huge pages, read",
     LoadBmp},
    {"TIFF", FIL_FORMAT_TIFF, FIL_COMPRESSION_NONE, Pages::Noisy, true, "write", SaveBmp,
     "huge pages, libtiff, BGR", LoadTiff},
    {"TIFF zip", FIL_FORMAT_TIFF, FIL_COMPRESSION_DEFLATE, Pages::Clean, true, "libtiff, same settings",
     SaveTiffDeflate, "huge pages, libtiff, BGR", LoadTiff},
    {"TIFF LZW", FIL_FORMAT_TIFF, FIL_COMPRESSION_LZW, Pages::Clean, true, "libtiff, same settings",
     SaveTiffLzw, "huge pages, libtiff, BGR", LoadTiff},
    {"TIFF JPEG", FIL_FORMAT_TIFF, FIL_COMPRESSION_JPEG, Pages::Clean, false, "libtiff, same settings",
     SaveTiffJpeg, "huge pages, libtiff, BGR", LoadTiff},
    {"TIFF G4", FIL_FORMAT_TIFF, FIL_COMPRESSION_GROUP4, Pages::BlackAndWhite, true, "libtiff, same settings",
     SaveTiffGroup4, "libtiff", LoadTiff},
    {"PDF JPEG", FIL_FORMAT_PDF, FIL_COMPRESSION_JPEG, Pages::Clean, false, "libjpeg, same settings",
     SaveJpeg, nullptr, nullptr},
    {"PDF G4", FIL_FORMAT_PDF, FIL_COMPRESSION_GROUP4, Pages::BlackAndWhite, false, "libtiff", SaveTiffGroup4,
     nullptr, nullptr},
    {"JPEG", FIL_FORMAT_JPEG, FIL_COMPRESSION_DEFAULT, Pages::All, false, "libjpeg, same settings", SaveJpeg,
     "huge pages, libjpeg", LoadJpeg},
    {"PNG", FIL_FORMAT_PNG, FIL_COMPRESSION_DEFAULT, Pages::All, true, "libpng, its own settings", SavePng,
     "huge pages, libpng", LoadPng},
    {"PNG grey", FIL_FORMAT_PNG, FIL_COMPRESSION_DEFAULT, Pages::Grey, true, "libpng, its own settings",
     SavePng, "huge pages, libpng", LoadPng},
    {"PNG 1 bit", FIL_FORMAT_PNG, FIL_COMPRESSION_DEFAULT, Pages::BlackAndWhite, true,
     "libpng, its own settings", SavePng, "huge pages, libpng", LoadPng},
    {"PNG photo", FIL_FORMAT_PNG, FIL_COMPRESSION_DEFAULT, Pages::Photo, true, "libpng, its own settings",
     SavePng, "huge pages, libpng", LoadPng},
};

}  // namespace

std::span<const BareCodec> BareCodecs()
{
    return kBareCodecs;
}

}  // namespace vorn::bench
