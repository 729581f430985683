#include "ReadyPage.h"

namespace vorn::bench {
namespace {

using namespace vorn::wia;

// A4.
constexpr double kDpi = 600;
constexpr uint32_t kWidth = 4960;
constexpr uint32_t kHeight = 7016;

CannedPage MakePage()
{
    CannedPage page = PlainPage(kWidth, kHeight, 24, 0, kDpi);
    uint32_t number = 0;
    for (uint8_t& byte : page.pixels)
        byte = static_cast<uint8_t>(++number * 2654435761u >> 24);
    return page;
}

const std::shared_ptr<PageSource>& Source()
{
    static const auto source = MakeCannedPages({MakePage()}, true);
    return source;
}

}  // namespace

std::span<const uint8_t> ReadyPixels()
{
    static const std::unique_ptr<Page> page = [] {
        std::unique_ptr<Page> taken;
        Source()->NextPage({}, taken);
        return taken;
    }();
    return {page->ReadyImage(), static_cast<size_t>(page->Geometry().ImageBytes())};
}

DevicePtr ScannerWithReadyPage()
{
    const auto onGlass = [](ItemDefinition& item) { item.single = Source; };
    return VirtualScanner()
        .EditItem(VORN_TEXT("Scan"), onGlass)
        .EditItem(VORN_TEXT("Flatbed"), onGlass)
        .Build();
}

}  // namespace vorn::bench
