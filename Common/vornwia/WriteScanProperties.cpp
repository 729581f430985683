/** Writing the scanning-properties record. */
#include "ScanSettings.h"
#include "ValidValues.h"

namespace vorn {
namespace {

/** How often a callback may have one property written; more is a callback that never gives in. */
constexpr int kMostAttempts = 1000;

/** True when the device lists the property as one that can be written. */
bool IsWritable(IWiaPropertyStorage* storage, PROPID id)
{
    ULONG access = 0;
    PropVariant valid;
    return ReadAttributes(storage, id, access, valid) == S_OK && (access & WIA_PROP_WRITE);
}

/** One attempt: only a plain S_OK is a success. */
int32_t WriteNumber(IWiaPropertyStorage* storage, PROPID id, int32_t value)
{
    const PROPSPEC propSpec = SpecifyProperty(nullptr, id);
    PROPVARIANT variant{};
    variant.vt = VT_I4;
    variant.lVal = value;
    return MapWiaResult(storage->WriteMultiple(1, &propSpec, &variant, WIA_IPA_FIRST));
}

/**
 * Writes a record, one setting after the other. A step is SUCCESS, or the status with which the operation ends;
 * the outcome of a write is SUCCESS, ERR_ABORTED for a callback that stopped, or anything else for a value that
 * was not taken as it was.
 */
class RecordWriter {
public:
    RecordWriter(WiaSession* session, WiaItemHandle item, WiaScanProperties& record,
                 const ScanStorages& storages, PropertyWriteCallback callback, void* userData)
        : session_{session},
          item_{item},
          record_{record},
          storages_{storages},
          callback_{callback},
          userData_{userData}
    {
    }

    // ---- The steps ----

    /** The standard one. */
    int32_t Write(const ScanSetting& setting)
    {
        if (!IsWritable(storages_.Of(setting), setting.id))
            return SUCCESS;
        int32_t value = ValueOf(setting);
        lastOutcome_ = WriteLong(setting, value);
        if (lastOutcome_ == ERR_ABORTED)
            return ERR_ABORTED;
        if (lastOutcome_ != SUCCESS)
            ReadBack(setting, value);
        return SUCCESS;
    }

    int32_t WriteInGeneration2(const ScanSetting& setting)
    {
        return session_->wiaVersion == 2 ? Write(setting) : SUCCESS;
    }

    /** Refreshes the field also when the device refused the setting before it, and before it stops. */
    int32_t WriteAndRefresh(const ScanSetting& setting)
    {
        int32_t value = ValueOf(setting);
        if (IsWritable(storages_.Of(setting), setting.id))
            lastOutcome_ = WriteLong(setting, value);
        return RefreshAfter(setting, value);
    }

    int32_t WritePages(const ScanSetting& setting)
    {
        return session_->wiaVersion == 1 ? WritePagesOfDevice(setting) : WriteAndRefresh(setting);
    }

    int32_t WriteFormat(const ScanSetting& setting)
    {
        if (!IsWritable(storages_.Of(setting), setting.id))
            return SUCCESS;
        GUID* wanted = record_.dataFormat->formatGuid;
        if (!wanted)
            return ERR_INVALID_ARGUMENT;
        GUID format = FormatToWrite(*wanted);
        lastOutcome_ = WriteGuid(setting.id, format);
        if (lastOutcome_ == ERR_ABORTED)
            return ERR_ABORTED;
        if (lastOutcome_ != SUCCESS)
            Vorn_WiaGetPropertyGUID(session_, item_, nullptr, setting.id, wanted);
        return SUCCESS;
    }

private:
    int32_t ValueOf(const ScanSetting& setting) const { return static_cast<int32_t>(setting.field(record_)); }

    /** Stores the value in force; when that cannot be read, the one that was written. */
    void ReadBack(const ScanSetting& setting, int32_t value)
    {
        ReadLongProperty(storages_.Of(setting), setting.id, &value);
        setting.field(record_) = static_cast<uint32_t>(value);
    }

    int32_t RefreshAfter(const ScanSetting& setting, int32_t value)
    {
        if (lastOutcome_ != SUCCESS)
            ReadBack(setting, value);
        return lastOutcome_ == ERR_ABORTED ? ERR_ABORTED : SUCCESS;
    }

    /** Only a feeder has several pages: any other source is given one, and the record keeps what it asks for. */
    int32_t WritePagesOfDevice(const ScanSetting& setting)
    {
        if (!IsWritable(storages_.Of(setting), setting.id))
            return SUCCESS;
        int32_t value = HasOnePage() ? 1 : ValueOf(setting);
        lastOutcome_ = WriteLong(setting, value);
        return RefreshAfter(setting, value);
    }

    bool HasOnePage() const
    {
        uint32_t deviceType = 0;
        if (Vorn_WiaGetSelectedDeviceType(session_, &deviceType) != SUCCESS)
            return false;
        if (deviceType != StiDeviceTypeScanner)
            return deviceType == StiDeviceTypeDigitalCamera || deviceType == StiDeviceTypeStreamingVideo;
        int32_t handling = 0;
        const int32_t status = Vorn_WiaGetPropertyLong(session_, RootItemOf(*session_), nullptr,
                                                       WIA_DPS_DOCUMENT_HANDLING_SELECT, &handling);
        return status == SUCCESS && (handling & FLATBED);
    }

    /** A memory stream of generation 2 is read as a BMP file. */
    GUID FormatToWrite(const GUID& wanted) const
    {
        const bool memory = session_->wiaVersion == 2 && record_.dataFormat->tymed == TYMED_CALLBACK;
        return memory ? WiaImgFmt_BMP : wanted;
    }

    /** The outcome is that of the first attempt, whatever the later ones gave. */
    int32_t WriteLong(const ScanSetting& setting, int32_t& value)
    {
        IWiaPropertyStorage* storage = storages_.Of(setting);
        const int32_t first = WriteNumber(storage, setting.id, value);
        int32_t status = first;
        for (int attempt = 1;; ++attempt) {
            const int32_t answer = Ask(setting.id, status, VT_I4, &value);
            if (answer == PROPERTY_WRITE_STOP)
                return ERR_ABORTED;
            if (answer != PROPERTY_WRITE_AGAIN || attempt == kMostAttempts)
                return first;
            status = WriteNumber(storage, setting.id, value);
        }
    }

    /** The outcome is the callback's last answer; without a callback it is the status. */
    int32_t WriteGuid(PROPID id, GUID& format)
    {
        for (int attempt = 1;; ++attempt) {
            const int32_t status = Vorn_WiaSetPropertyGUID(session_, item_, nullptr, id, &format);
            if (!callback_)
                return status;
            const int32_t answer = Ask(id, status, VT_CLSID, &format);
            if (answer == PROPERTY_WRITE_STOP)
                return ERR_ABORTED;
            if (answer != PROPERTY_WRITE_AGAIN || attempt == kMostAttempts)
                return answer;
        }
    }

    int32_t Ask(PROPID id, int32_t status, VARTYPE type, void* value)
    {
        return callback_ ? callback_(session_, id, status, type, value, userData_) : PROPERTY_WRITE_GO_ON;
    }

    WiaSession* session_;
    WiaItemHandle item_;
    WiaScanProperties& record_;
    const ScanStorages& storages_;
    PropertyWriteCallback callback_;
    void* userData_;
    int32_t lastOutcome_ = SUCCESS;  ///< of the last write that was made
};

struct WriteStep {
    const ScanSetting& setting;
    int32_t (RecordWriter::*write)(const ScanSetting& setting) = &RecordWriter::Write;
};

// A setting that changes the valid values of others comes before them.
constexpr WriteStep kWriteOrder[] = {
    {kIntent},
    {kDataType},
    {kDepth},
    {kDocumentHandling, &RecordWriter::WriteAndRefresh},
    {kTymed},
    {kFormat, &RecordWriter::WriteFormat},
    {kCompression},
    {kPages, &RecordWriter::WritePages},
    {kOrientation},
    {kXResolution},
    {kYResolution},
    {kXPosition},
    {kYPosition},
    {kXExtent},
    {kYExtent},
    {kProperty3109, &RecordWriter::WriteInGeneration2},
    {kProperty3110, &RecordWriter::WriteInGeneration2},
    {kRotation},
    {kBrightness},
    {kContrast},
};

}  // namespace
}  // namespace vorn

using namespace vorn;

int32_t Vorn_WiaSetProperties(WiaSession* session, WiaItemHandle item, WiaScanProperties* record,
                              PropertyWriteCallback callback, void* userData)
{
    if (!session || !item || !IsComplete(record) || !HasGoodParts(*record))
        return ERR_INVALID_ARGUMENT;
    if (!HasSelectedDevice(*session))
        return ERR_NO_DEVICE_SELECTED;
    if (record->structSize != sizeof(WiaScanProperties))
        return ERR_BAD_STRUCT_SIZE;
    const ScanStorages storages{*session, item};
    if (!storages)
        return ERR_WIA_UNEXPECTED;

    RecordWriter writer{session, item, *record, storages, callback, userData};
    for (const WriteStep& step : kWriteOrder) {
        if (const int32_t status = (writer.*step.write)(step.setting); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}
