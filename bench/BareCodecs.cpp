#include "BareCodecs.h"

#include <benchmark/benchmark.h>

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

constexpr BareCodec kBareCodecs[] = {
    {"BMP", FIL_FORMAT_BMP, true, "write", SaveBmp, "huge pages, read", LoadBmp},
};

}  // namespace

std::span<const BareCodec> BareCodecs()
{
    return kBareCodecs;
}

}  // namespace vorn::bench
