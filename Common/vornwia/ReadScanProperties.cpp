/** Reading the scanning-properties record. */
#include "ScanSettings.h"

namespace vorn {
namespace {

/** Fills a record, one property after the other; what cannot be read leaves its field as it was. */
struct RecordReader {
    WiaSession* session;
    WiaItemHandle item;
    WiaScanProperties& record;
    const ScanStorages& storages;

    bool Read(const ScanSetting& setting) const
    {
        auto value = static_cast<int32_t>(setting.field(record));
        const HRESULT result = ReadLongProperty(storages.Of(setting), setting.id, &value);
        setting.field(record) = static_cast<uint32_t>(value);
        return result == S_OK;
    }
};

void ReadNumber(const RecordReader& reader, const ScanSetting& setting)
{
    reader.Read(setting);
}

constexpr struct CategoryRow {
    const GUID& category;
    uint32_t documentHandling;
} kCategories[] = {
    {WIA_CATEGORY_FEEDER, WIA_SOURCE_FEEDER},
    {WIA_CATEGORY_FLATBED, WIA_SOURCE_FLATBED},
    {WIA_CATEGORY_FEEDER_BACK, WIA_SOURCE_BACK_ONLY},
    {WIA_CATEGORY_FEEDER_FRONT, WIA_SOURCE_FRONT_ONLY},
};

/** What the category of a 2.0 item tells of its document source. */
uint32_t DocumentHandlingOf(REFGUID category)
{
    for (const CategoryRow& row : kCategories) {
        if (IsEqualGUID(row.category, category))
            return row.documentHandling;
    }
    return 0;
}

/** An item of generation 2 need not tell its document source: its category does. */
void ReadDocumentHandling(const RecordReader& reader, const ScanSetting& setting)
{
    if (reader.Read(setting) || reader.session->wiaVersion == 1)
        return;
    GUID category{};
    if (IsPlainSuccess(AsItem2(reader.item)->GetItemCategory(&category)))
        reader.record.documentHandling = DocumentHandlingOf(category);
}

/** A format that cannot be read becomes all zero. */
void ReadFormat(const RecordReader& reader, const ScanSetting& setting)
{
    GUID* wanted = reader.record.dataFormat->formatGuid;
    if (!wanted)
        return;
    GUID format{};
    Vorn_WiaGetPropertyGUID(reader.session, reader.item, nullptr, setting.id, &format);
    *wanted = format;
}

struct ReadStep {
    const ScanSetting& setting;
    void (*read)(const RecordReader& reader, const ScanSetting& setting) = ReadNumber;
};

constexpr ReadStep kReadOrder[] = {
    {kIntent},       {kDocumentHandling, ReadDocumentHandling},
    {kDataType},     {kDepth},
    {kTymed},        {kFormat, ReadFormat},
    {kCompression},  {kPages},
    {kOrientation},  {kRotation},
    {kXResolution},  {kYResolution},
    {kXPosition},    {kYPosition},
    {kXExtent},      {kYExtent},
    {kProperty3109}, {kProperty3110},
    {kBrightness},   {kContrast},
};

}  // namespace
}  // namespace vorn

using namespace vorn;

int32_t Vorn_WiaGetProperties(WiaSession* session, WiaItemHandle item, WiaScanProperties* record)
{
    if (!session || !item || !IsComplete(record))
        return ERR_INVALID_ARGUMENT;
    if (record->structSize != sizeof(WiaScanProperties) || !HasGoodParts(*record))
        return ERR_BAD_STRUCT_SIZE;
    if (!HasSelectedDevice(*session))
        return ERR_NO_DEVICE_SELECTED;
    const ScanStorages storages{*session, item};
    if (!storages)
        return ERR_WIA_UNEXPECTED;

    const RecordReader reader{session, item, *record, storages};
    for (const ReadStep& step : kReadOrder)
        step.read(reader, step.setting);
    return SUCCESS;
}
