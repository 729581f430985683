// Makes the first seeds of every target: small files of each depth and compression.
//
//     vorn_make_seeds FOLDER    writes FOLDER/bmp/1.bmp, FOLDER/tiff_append/1-none.tif, ...
#include <filesystem>
#include <iostream>
#include <string>

#include "Vornfilx.h"

namespace {

namespace fs = std::filesystem;

struct Target {
    const char* name;
    const char* extension;
    int32_t format;
    int pages;
};
constexpr Target kTargets[] = {
    {"bmp", ".bmp", FIL_FORMAT_BMP, 1},          {"tiff", ".tif", FIL_FORMAT_TIFF, 2},
    {"jpeg", ".jpg", FIL_FORMAT_JPEG, 1},        {"png", ".png", FIL_FORMAT_PNG, 1},
    {"tiff_append", ".tif", FIL_FORMAT_TIFF, 2}, {"pdf_append", ".pdf", FIL_FORMAT_PDF, 2}};

struct Compression {
    const char* name;
    int32_t code;
};
constexpr Compression kCompressions[] = {
    {"", FIL_COMPRESSION_DEFAULT}, {"-none", FIL_COMPRESSION_NONE}, {"-deflate", FIL_COMPRESSION_DEFLATE},
    {"-lzw", FIL_COMPRESSION_LZW}, {"-jpeg", FIL_COMPRESSION_JPEG}, {"-group4", FIL_COMPRESSION_GROUP4}};

/** A picture with something on it, small as its file should be. */
class Picture {
public:
    explicit Picture(uint32_t bits)
    {
        KrnCreateBitmap(&record, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, 19, 11, bits, KRN_COLOR_ORDER_BGR,
                        nullptr, KRN_VIEW_BOTTOM_LEFT, nullptr, 0);
        for (uint64_t i = 0; i < record.imageBytes; ++i)
            static_cast<uint8_t*>(record.image)[i] = static_cast<uint8_t>(i * i / 7);
        record.xDpi = record.yDpi = 300;
    }
    Picture(const Picture&) = delete;
    ~Picture() { KrnFreeBitmap(&record); }

    BitmapHandle record{};
};

/** False when the format does not take such a page. */
bool Save(const fs::path& file, const Target& target, uint32_t bits, int32_t compression)
{
    const Picture picture{bits};
    fs::remove(file);
    for (int page = 0; page < target.pages; ++page)
        if (FilSave(file.string<WCHAR>().c_str(), &picture.record, target.format, 0, FIL_SAVE_ADD_PAGE,
                    compression, nullptr, nullptr, nullptr) != FIL_SUCCESS)
            return false;
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: vorn_make_seeds FOLDER\n";
        return 1;
    }
    for (const Target& target : kTargets) {
        const fs::path folder = fs::path{argv[1]} / target.name;
        fs::create_directories(folder);
        for (const uint32_t bits : {1u, 4u, 8u, 16u, 24u, 32u})
            for (const Compression& compression : kCompressions) {
                const std::string name = std::to_string(bits) + compression.name + target.extension;
                Save(folder / name, target, bits, compression.code);
            }
    }
    return 0;
}
