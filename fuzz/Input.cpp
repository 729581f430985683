#include "Input.h"

#include <fstream>
#include <iterator>
#include <random>

namespace vorn::fuzz {

InputFile::InputFile()
    : path_{std::filesystem::temp_directory_path() / ("vorn_fuzz_" + std::to_string(std::random_device{}()))},
      name_{path_.string<WCHAR>()}
{
}

InputFile::~InputFile()
{
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
}

void InputFile::Fill(const uint8_t* data, size_t size) const
{
    std::ofstream{path_, std::ios::binary}.write(reinterpret_cast<const char*>(data),
                                                 static_cast<std::streamsize>(size));
}

std::string InputFile::Bytes() const
{
    std::ifstream stream{path_, std::ios::binary};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

bool IsWorthwhile(const InputFile& file, uint32_t page, FilFileInfo& info)
{
    FilLoadOptions options;
    FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
    options.page = page;
    if (FilInfo(file.Name(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, &options) != FIL_SUCCESS)
        return false;
    return KrnRowBytes(info.width, info.bitsPerPixel) * info.height <= kImageBytes;
}

Bitmap::~Bitmap()
{
    if (record.flags & KRN_BITMAP_HAS_IMAGE)
        KrnFreeBitmap(&record);
    else
        KrnFree(record.palette, __LINE__, "fuzz");
}

}  // namespace vorn::fuzz
