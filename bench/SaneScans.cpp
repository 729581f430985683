#include "SaneScans.h"

#include <sane/sane.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Desk.h"
#include "Vornkrnx.h"
#include "pixels/Pixels.h"

namespace vorn::bench {
namespace {

constexpr uint32_t kPixelBytes = 3;

void Require(SANE_Status status, const char* step)
{
    if (status != SANE_STATUS_GOOD)
        throw std::runtime_error{std::string{step} + ": " + sane_strstatus(status)};
}

int32_t RequirePage(WiaSession*, BitmapHandle* bitmap, const WCHAR*, int32_t, int32_t, void* seen)
{
    *static_cast<bool*>(seen) = *static_cast<bool*>(seen) || (bitmap && bitmap->imageBytes > 0);
    return 1;
}

}  // namespace

void ScanBare()
{
    SANE_Int version = 0;
    SANE_Handle scanner = nullptr;
    SANE_Parameters page{};
    Require(sane_init(&version, nullptr), "sane_init");
    Require(sane_open(kSaneDevice, &scanner), "sane_open");
    Require(sane_start(scanner), "sane_start");
    Require(sane_get_parameters(scanner, &page), "sane_get_parameters");
    const auto all = static_cast<size_t>(page.bytes_per_line) * static_cast<size_t>(page.lines);
    const auto memory = std::make_unique_for_overwrite<uint8_t[]>(all);
    std::vector<uint8_t> buffer(128 * 1024);
    size_t held = 0, done = 0;
    SANE_Status status = SANE_STATUS_GOOD;
    while (status == SANE_STATUS_GOOD) {
        SANE_Int length = 0;
        status =
            sane_read(scanner, buffer.data() + held, static_cast<SANE_Int>(buffer.size() - held), &length);
        held += static_cast<size_t>(length);
        const size_t whole = std::min(held, all - done) / kPixelBytes * kPixelBytes;
        fil::SwapRedBlue(buffer.data(), memory.get() + done, static_cast<uint32_t>(whole / kPixelBytes));
        std::copy(buffer.begin() + static_cast<std::ptrdiff_t>(whole),
                  buffer.begin() + static_cast<std::ptrdiff_t>(held), buffer.begin());
        held -= whole;
        done += whole;
    }
    if (status != SANE_STATUS_EOF || done != all)
        throw std::runtime_error{"sane_read ends too soon"};
    sane_cancel(scanner);
    sane_close(scanner);
    sane_exit();
}

void ScanToMemory()
{
    const Desk desk{wia::Generation::One, VORN_TEXT("test:0")};
    desk.Prepare(WiaImgFmt_MEMORYBMP, TYMED_CALLBACK);
    bool seen = false;
    const int32_t status = Vorn_WiaAcquire(desk.Session(), nullptr, 0, desk.Item(), nullptr, nullptr, nullptr,
                                           RequirePage, &seen);
    if (status != SUCCESS || !seen)
        throw std::runtime_error{"Vorn_WiaAcquire answers " + std::to_string(status)};
}

}  // namespace vorn::bench
