#include "Desk.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "ReadyPage.h"
#include "Vornkrnx.h"

namespace vorn::bench {
namespace {

void Require(int32_t status, const char* step)
{
    if (status != SUCCESS)
        throw std::runtime_error{std::string{step} + " answers " + std::to_string(status)};
}

int32_t KeepFirst(WiaSession* session, uint32_t, WiaItemHandle item, void* data)
{
    auto& first = *static_cast<WiaItemHandle*>(data);
    if (first)
        Vorn_WiaFreeItem(session, item);
    else
        first = item;
    return 1;
}

struct Delivery {
    Desk::Check check;
    bool good = false;
};

bool IsThePage(const BitmapHandle& bitmap, Desk::Check check)
{
    const auto pixels = ReadyPixels();
    if (bitmap.imageBytes != pixels.size())
        return false;
    return check == Desk::Check::Size || std::memcmp(bitmap.image, pixels.data(), pixels.size()) == 0;
}

int32_t Look(WiaSession*, BitmapHandle* bitmap, const WCHAR*, int32_t, int32_t, void* data)
{
    auto& delivery = *static_cast<Delivery*>(data);
    if (bitmap)
        delivery.good = IsThePage(*bitmap, delivery.check);
    return 1;
}

}  // namespace

Desk::Desk(wia::Generation generation, const WCHAR* device)
{
    Require(Vorn_WiaInitSession(static_cast<uint32_t>(generation), &session_), "Vorn_WiaInitSession");
    Require(Vorn_WiaSelectDevice(session_, device), "Vorn_WiaSelectDevice");
    WiaItemHandle root = nullptr;
    Require(Vorn_WiaGetRootItem(session_, nullptr, &root), "Vorn_WiaGetRootItem");
    Require(Vorn_WiaEnumChildItems(session_, root, KeepFirst, &item_), "Vorn_WiaEnumChildItems");
}

Desk::~Desk()
{
    if (item_)
        Vorn_WiaFreeItem(session_, item_);
    if (session_)
        Vorn_WiaEndSession(session_);
}

void Desk::Prepare(REFGUID format, LONG medium) const
{
    Require(Vorn_WiaSetPropertyLong(session_, item_, nullptr, WIA_IPA_TYMED, medium), "setting the medium");
    Require(Vorn_WiaSetPropertyGUID(session_, item_, nullptr, WIA_IPA_FORMAT, &format), "setting the format");
}

void Desk::TakeBitmap(Check check)
{
    Delivery delivery{check};
    Require(Vorn_WiaAcquire(session_, nullptr, 0, item_, nullptr, nullptr, nullptr, Look, &delivery),
            "Vorn_WiaAcquire");
    if (!delivery.good)
        throw std::runtime_error{"Vorn_WiaAcquire delivers another page than the device has"};
}

void Desk::TakeFile(const std::filesystem::path& file)
{
    AcquireOptions options{};
    options.structSize = sizeof options;
    const WString name = Wide(file);
    std::copy_n(name.c_str(), std::min<size_t>(name.size(), VORNWIA_NAME_CHARS - 1), options.fileName);
    Require(Vorn_WiaAcquire(session_, nullptr, 0, item_, &options, nullptr, nullptr, nullptr, nullptr),
            "Vorn_WiaAcquire");
}

WString Wide(const std::filesystem::path& path)
{
    return path.u16string();
}

}  // namespace vorn::bench
