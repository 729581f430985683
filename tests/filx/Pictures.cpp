#include "Pictures.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#ifdef _WIN32
#include <windows.h>
#endif

namespace vorn::test {

Picture::Picture(uint32_t width, uint32_t height, uint32_t bits, uint32_t view, uint32_t seed)
{
    KrnCreateBitmap(&record, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, width, height, bits, KRN_COLOR_ORDER_BGR,
                    nullptr, view, nullptr, 0);
    const uint32_t rowBits = width * bits;
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t i = 0; i < (rowBits + 7) / 8; ++i) {
            seed = seed * 1664525 + 1013904223;
            const uint32_t keep = i < rowBits / 8 ? 0xFFu : 0xFFu << (8 - rowBits % 8);
            static_cast<uint8_t*>(record.image)[size_t{y} * record.rowBytes + i] =
                static_cast<uint8_t>(seed >> 24 & keep);
        }
}

uint32_t Picture::ValueAt(uint32_t x, uint32_t y) const
{
    const uint32_t line = record.viewPerspective == KRN_VIEW_TOP_LEFT ? y : record.height - 1 - y;
    const uint8_t* const row = static_cast<uint8_t*>(record.image) + size_t{line} * record.rowBytes;
    const uint32_t bits = record.bitsPerPixel;
    if (bits < 8)
        return row[x * bits / 8] >> (8 - bits - x * bits % 8) & ((1u << bits) - 1);
    uint32_t value = 0;
    std::memcpy(&value, row + size_t{x} * bits / 8, bits / 8);
    return value;
}

std::array<uint8_t, 3> Picture::ColorAt(uint32_t x, uint32_t y) const
{
    const uint32_t value = ValueAt(x, y);
    if (record.bitsPerPixel <= 8)
        return {record.palette[value * 4], record.palette[value * 4 + 1], record.palette[value * 4 + 2]};
    return {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value >> 16)};
}

std::string Difference(const Picture& left, const Picture& right)
{
    if (left.record.width != right.record.width || left.record.height != right.record.height)
        return "other size";
    for (uint32_t y = 0; y < left.record.height; ++y)
        for (uint32_t x = 0; x < left.record.width; ++x)
            if (left.ColorAt(x, y) != right.ColorAt(x, y))
                return "pixel " + std::to_string(x) + ", " + std::to_string(y);
    return {};
}

int32_t FilesTest::Save(const WString& name, const Picture& picture, int32_t format, int32_t mode)
{
    return FilSave(name.c_str(), &picture.record, format, 0, mode, FIL_COMPRESSION_DEFAULT, nullptr, nullptr,
                   nullptr);
}

int32_t FilesTest::Load(const WString& name, Picture& picture, uint32_t page)
{
    FilLoadOptions options;
    FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
    options.page = page;
    return FilLoad(name.c_str(), &picture.record, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_BGR, &options, nullptr);
}

/** Wine starts a program of the system that it runs on, and does not wait for it: the script tells its end. */
int FilesTest::Run(const std::string& command) const
{
#ifdef _WIN32
    WriteBytes(folder.Path() / "run", "PATH=/usr/local/bin:/usr/bin:/bin\n(" + command +
                                          ") >out 2>&1\necho $? >ended\nmv ended end\n");
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    wchar_t line[] = L"sh run";
    if (!CreateProcessW(L"Z:\\bin\\sh", line, nullptr, nullptr, FALSE, 0, nullptr, folder.Path().c_str(),
                        &start, &process))
        return -1;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds{60};
    while (!std::filesystem::exists(folder.Path() / "end") && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds{5});
    const std::string end = BytesOf(folder.Path() / "end");
    std::filesystem::remove(folder.Path() / "run");
    std::filesystem::remove(folder.Path() / "end");
    return end.empty() ? -1 : std::atoi(end.c_str());
#else
    return std::system(("cd '" + folder.Path().string() + "' && " + command + " >out 2>&1").c_str());
#endif
}

int32_t LoadBytes(std::string_view bytes, Picture& picture)
{
    const auto exact = std::make_unique<char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), exact.get());
    return FilLoadMemory(exact.get(), &picture.record, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_ANY,
                         static_cast<int32_t>(bytes.size()), nullptr, nullptr);
}

}  // namespace vorn::test
