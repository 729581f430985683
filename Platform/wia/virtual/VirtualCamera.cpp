#include <chrono>

#include "../model/FileNames.h"
#include "../model/ImageFormats.h"
#include "DeviceBuilder.h"
#include "DeviceProperties.h"
#include "ScannerRules.h"
#include "TestChart.h"

namespace vorn::wia {

namespace {

constexpr LONG kRootType = WiaItemTypeRoot | WiaItemTypeFolder | WiaItemTypeDevice;
constexpr uint32_t kPictures = 3;
constexpr uint32_t kWidth = 1024;
constexpr uint32_t kHeight = 768;
constexpr uint32_t kDpi = 100;
constexpr uint32_t kThumbWidth = 80;
constexpr uint32_t kThumbHeight = 60;

/** A picture that tells which one it is. */
CannedPage TakePicture(uint32_t number)
{
    ChartSheet sheet;
    sheet.widthInches = double(kWidth) / kDpi;
    sheet.heightInches = double(kHeight) / kDpi;
    sheet.title = VORN_TEXT("Virtual camera");
    PageRequest request;
    request.xDpi = request.yDpi = kDpi;
    request.width = kWidth;
    request.height = kHeight;
    request.pageNumber = number;

    CannedPage picture;
    std::unique_ptr<Page> page;
    TestChart chart{std::move(sheet), 1};
    if (chart.NextPage(request, page) != S_OK)
        return PlainPage(kWidth, kHeight, 24, 0xFF, kDpi);
    picture.geometry = page->Geometry();
    picture.pixels.resize(static_cast<size_t>(picture.geometry.ImageBytes()));
    page->ReadRows(picture.pixels.data(), picture.geometry.height, RowOrder::BottomUp);
    return picture;
}

/** Every n-th pixel of a picture in colour: a DIB's pixel array without its header. */
std::vector<uint8_t> Thumbnail(const CannedPage& picture)
{
    const PageGeometry& geometry = picture.geometry;
    std::vector<uint8_t> thumbnail;
    thumbnail.reserve(size_t{3} * kThumbWidth * kThumbHeight);
    for (uint32_t y = 0; y < kThumbHeight; ++y) {
        const uint8_t* row =
            picture.pixels.data() + uint64_t{y} * geometry.height / kThumbHeight * geometry.RowBytes();
        for (uint32_t x = 0; x < kThumbWidth; ++x) {
            const uint8_t* pixel = row + uint64_t{x} * geometry.width / kThumbWidth * 3;
            thumbnail.insert(thumbnail.end(), pixel, pixel + 3);
        }
    }
    return thumbnail;
}

/** The time now, as an eight-number system time. */
Value Now()
{
    using namespace std::chrono;
    const auto now = floor<milliseconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date{day};
    const hh_mm_ss time{now - day};
    const auto word = [](auto number) { return static_cast<uint16_t>(number); };
    return Value::Words({word(int{date.year()}), word(unsigned{date.month()}),
                         word(weekday{day}.c_encoding()), word(unsigned{date.day()}),
                         word(time.hours().count()), word(time.minutes().count()),
                         word(time.seconds().count()), word(time.subseconds().count())});
}

std::vector<ItemDefinition> Pictures(Generation generation)
{
    std::vector<ItemDefinition> pictures;
    for (uint32_t number = 1; number <= kPictures; ++number) {
        CannedPage picture = TakePicture(number);
        const Value thumbnail = Value::Bytes(Thumbnail(picture));
        pictures.push_back(
            PictureItem(generation, VORN_TEXT("Picture ") + Digits(number), std::move(picture)));
        pictures.back()
            .Set(ReadOnly(WIA_IPC_THUMBNAIL, thumbnail))
            .Set(ReadOnly(WIA_IPC_THUMB_WIDTH, Value::I4(kThumbWidth)))
            .Set(ReadOnly(WIA_IPC_THUMB_HEIGHT, Value::I4(kThumbHeight)));
    }
    return pictures;
}

void AddCameraProperties(ItemDefinition& root)
{
    Property clock = ReadOnly(WIA_DPA_DEVICE_TIME, Now());
    clock.read = [](PROPVARIANT& value) { return Now().CopyTo(&value); };
    root.Set(ReadOnly(WIA_DPA_FIRMWARE_VERSION, Value::Text(VORN_TEXT("1.0"))))
        .Set(ReadOnly(WIA_DPA_CONNECT_STATUS, Value::I4(WIA_DEVICE_CONNECTED)))
        .Set(std::move(clock))
        .Set(ReadOnly(WIA_DPC_PICTURES_TAKEN, Value::I4(kPictures)))
        .Set(ReadOnly(WIA_DPC_PICTURES_REMAINING, Value::I4(100)))
        .Set(ReadOnly(WIA_DPC_POWER_MODE, Value::I4(POWERMODE_LINE)))
        .Set(ReadOnly(WIA_DPC_BATTERY_STATUS, Value::I4(100)))
        .Set(ReadOnly(WIA_DPC_THUMB_WIDTH, Value::I4(kThumbWidth)))
        .Set(ReadOnly(WIA_DPC_THUMB_HEIGHT, Value::I4(kThumbHeight)))
        .Set(ReadOnly(WIA_DPC_PICT_WIDTH, Value::I4(kWidth)))
        .Set(ReadOnly(WIA_DPC_PICT_HEIGHT, Value::I4(kHeight)));
}

ItemDefinition Tree1()
{
    ItemDefinition root = BareItem(VORN_TEXT("Root"), kRootType);
    AddCameraProperties(root);
    root.children = Pictures(Generation::One);
    return root;
}

ItemDefinition Tree2()
{
    ItemDefinition root = BareItem(VORN_TEXT("Root"), kRootType, WIA_CATEGORY_ROOT);
    AddCameraProperties(root);
    ItemDefinition folder =
        BareItem(VORN_TEXT("Pictures"), WiaItemTypeFolder | WiaItemTypeStorage | WiaItemTypeTransfer,
                 WIA_CATEGORY_FOLDER);
    folder.children = Pictures(Generation::Two);
    root.children.push_back(std::move(folder));
    return root;
}

}  // namespace

ItemDefinition PictureItem(Generation generation, WStringView name, CannedPage picture)
{
    const bool first = generation == Generation::One;
    const PageGeometry& geometry = picture.geometry;
    const LONG tymed = first ? LONG{TYMED_CALLBACK} : LONG{TYMED_FILE};
    const LONG dataTypes[] = {WIA_DATA_THRESHOLD, WIA_DATA_GRAYSCALE, WIA_DATA_COLOR};
    const LONG dataType = dataTypes[geometry.bitsPerPixel == 1 ? 0 : geometry.bitsPerPixel <= 8 ? 1 : 2];

    ItemDefinition item = BareItem(name, WiaItemTypeImage | WiaItemTypeFile | WiaItemTypeTransfer,
                                   first ? GUID{} : WIA_CATEGORY_FINISHED_FILE);
    item.formats = ImageFormats(generation, false);
    const std::vector<GUID> formats = FormatsOf(item.formats, tymed);
    item.follow = FollowScannerItem;
    item.Set(ReadOnly(WIA_IPA_ITEM_TIME, Value::Words({2024, 1, 1, 1, 12, 0, 0, 0})))
        .Set(ReadOnly(WIA_IPA_DATATYPE, Value::I4(dataType)))
        .Set(ReadOnly(WIA_IPA_DEPTH, Value::I4(static_cast<LONG>(geometry.bitsPerPixel))))
        .Set(ReadOnly(WIA_IPA_PREFERRED_FORMAT, Value::Guid(WiaImgFmt_BMP)))
        .Set(OneOf(WIA_IPA_FORMAT, formats.front(), formats))
        .Set(OneOf(WIA_IPA_COMPRESSION, WIA_COMPRESSION_NONE, std::vector<LONG>{WIA_COMPRESSION_NONE}))
        .Set(OneOf(WIA_IPA_TYMED, tymed, std::vector<LONG>{TYMED_CALLBACK, TYMED_FILE}))
        .Set(ReadOnly(WIA_IPA_PIXELS_PER_LINE, Value::I4(static_cast<LONG>(geometry.width))))
        .Set(ReadOnly(WIA_IPA_BYTES_PER_LINE, Value::I4(static_cast<LONG>(geometry.RowBytes()))))
        .Set(ReadOnly(WIA_IPA_NUMBER_OF_LINES, Value::I4(static_cast<LONG>(geometry.height))))
        .Set(ReadOnly(WIA_IPA_ITEM_SIZE, Value::I4(static_cast<LONG>(geometry.ImageBytes()))))
        .Set(ReadOnly(WIA_IPA_BUFFER_SIZE, Value::I4(65536)))
        .Set(ReadOnly(WIA_IPA_FILENAME_EXTENSION, Value::Text(VORN_TEXT("BMP"))))
        .Set(ReadOnly(WIA_IPC_SEQUENCE, Value::I4(0)));
    item.single = [source = MakeCannedPages({std::move(picture)}, true)] { return source; };
    return item;
}

DeviceBuilder VirtualCamera()
{
    DeviceDefinition definition;
    definition.properties =
        DeviceProperties(VORN_TEXT("virtual:camera"), VORN_TEXT("Virtual Camera"),
                         VORN_TEXT("Virtual camera with three pictures"), StiDeviceTypeDigitalCamera);
    definition.tree1 = Tree1;
    definition.tree2 = Tree2;
    return DeviceBuilder{std::move(definition)};
}

}  // namespace vorn::wia
