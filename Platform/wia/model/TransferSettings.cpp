#include "TransferSettings.h"

#include <algorithm>

#include "FileNames.h"
#include "ImageFormats.h"
#include "PageEncoder.h"

namespace vorn::wia {

namespace {

constexpr LONG kBufferBytes = 65536;

/** Far from the ids of a scanner's own options. */
constexpr PROPID kJpegQualityId = WIA_PRIVATE_ITEMPROP + 0x8000;

Property JpegQuality()
{
    Property quality = InRange(kJpegQualityId, kJpegQuality, 1, 100);
    quality.name = VORN_TEXT("JPEG Quality");
    return quality;
}

}  // namespace

void AddTransferProperties(ItemDefinition& item, Generation generation)
{
    const LONG tymed = generation == Generation::One ? LONG{TYMED_CALLBACK} : LONG{TYMED_FILE};
    item.formats = ImageFormats(generation, true);
    const std::vector<GUID> formats = FormatsOf(item.formats, tymed);
    item.Set(ReadOnly(WIA_IPA_PREFERRED_FORMAT, Value::Guid(WiaImgFmt_BMP)))
        .Set(OneOf(WIA_IPA_FORMAT, formats.front(), formats))
        .Set(OneOf(WIA_IPA_COMPRESSION, WIA_COMPRESSION_NONE, std::vector<LONG>{WIA_COMPRESSION_NONE}))
        .Set(OneOf(WIA_IPA_TYMED, tymed, std::vector<LONG>{TYMED_CALLBACK, TYMED_FILE, TYMED_MULTIPAGE_FILE}))
        .Set(ReadOnly(WIA_IPA_PLANAR, Value::I4(WIA_PACKED_PIXEL)))
        .Set(ReadOnly(WIA_IPA_BUFFER_SIZE, Value::I4(kBufferBytes)))
        .Set(ReadOnly(WIA_IPA_FILENAME_EXTENSION, Value::Text(VORN_TEXT("BMP"))))
        .Set(ReadOnly(WIA_IPA_SUPPRESS_PROPERTY_PAGE, Value::I4(0)))
        .Set(JpegQuality());
}

LONG JpegQualityOf(const PropertyTable& table)
{
    return table.Find(kJpegQualityId) ? table.Long(kJpegQualityId) : kJpegQuality;
}

void FollowMedium(Item& item)
{
    PropertyTable& table = item.Properties();
    const std::vector<GUID> formats = FormatsOf(item.Definition().formats, table.Long(WIA_IPA_TYMED));
    Property* format = table.Find(WIA_IPA_FORMAT);
    if (!format || formats.empty())
        return;
    const GUID wanted = format->value.ToGuid();
    const bool offered = std::any_of(formats.begin(), formats.end(),
                                     [&](const GUID& guid) { return IsEqualGUID(guid, wanted); });
    if (!offered)
        format->value = Value::Guid(formats.front());
    format->valid = ListValues(formats.front(), formats);
    FollowFormat(table);
}

void FollowFormat(const PropertyTable& table)
{
    WString extension{ExtensionOf(table.Guid(WIA_IPA_FORMAT)).substr(1)};
    for (WCHAR& letter : extension)
        letter = static_cast<WCHAR>(letter - u'a' + u'A');
    table.SetText(WIA_IPA_FILENAME_EXTENSION, extension);
}

}  // namespace vorn::wia
