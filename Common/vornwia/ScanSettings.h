/**
 * @file ScanSettings.h
 * The settings of the scanning-properties record: which property each field is, and which item holds it. The
 * orders in which they are read and written stand with the reader and the writer.
 */
#pragma once

#include "Internal.h"

namespace vorn {

/** A setting that is a 32-bit number. */
struct ScanSetting {
    PROPID id;
    uint32_t& (*field)(WiaScanProperties& record);
    bool ofDevice = false;  ///< in generation 1 the root item holds it
};

// The record is packed to 4 bytes, which is enough for the numbers in it but not for the pointers: no pointer to
// a member, hence these.
template <auto field>
uint32_t& InRecord(WiaScanProperties& record)
{
    return record.*field;
}
template <auto field>
uint32_t& InGeometry(WiaScanProperties& record)
{
    return record.geometry->*field;
}
template <auto field>
uint32_t& InDataFormat(WiaScanProperties& record)
{
    return record.dataFormat->*field;
}
template <auto field>
uint32_t& InAdjust(WiaScanProperties& record)
{
    return record.adjust->*field;
}

inline constexpr ScanSetting kIntent{WIA_IPS_CUR_INTENT, InRecord<&WiaScanProperties::intent>};
inline constexpr ScanSetting kDocumentHandling{WIA_DPS_DOCUMENT_HANDLING_SELECT,
                                               InRecord<&WiaScanProperties::documentHandling>, true};
inline constexpr ScanSetting kPages{WIA_DPS_PAGES, InRecord<&WiaScanProperties::pages>, true};
inline constexpr ScanSetting kOrientation{WIA_IPS_ORIENTATION, InRecord<&WiaScanProperties::orientation>};
inline constexpr ScanSetting kDepth{WIA_IPA_DEPTH, InGeometry<&WiaImageGeometry::bitsPerPixel>};
inline constexpr ScanSetting kXResolution{WIA_IPS_XRES, InGeometry<&WiaImageGeometry::xResolution>};
inline constexpr ScanSetting kYResolution{WIA_IPS_YRES, InGeometry<&WiaImageGeometry::yResolution>};
inline constexpr ScanSetting kXPosition{WIA_IPS_XPOS, InGeometry<&WiaImageGeometry::xPosition>};
inline constexpr ScanSetting kYPosition{WIA_IPS_YPOS, InGeometry<&WiaImageGeometry::yPosition>};
inline constexpr ScanSetting kXExtent{WIA_IPS_XEXTENT, InGeometry<&WiaImageGeometry::xExtent>};
inline constexpr ScanSetting kYExtent{WIA_IPS_YEXTENT, InGeometry<&WiaImageGeometry::yExtent>};
inline constexpr ScanSetting kProperty3109{3109, InGeometry<&WiaImageGeometry::property3109>};
inline constexpr ScanSetting kProperty3110{3110, InGeometry<&WiaImageGeometry::property3110>};
inline constexpr ScanSetting kRotation{WIA_IPS_ROTATION, InGeometry<&WiaImageGeometry::rotation>};
inline constexpr ScanSetting kDataType{WIA_IPA_DATATYPE, InDataFormat<&WiaDataFormat::dataType>};
inline constexpr ScanSetting kTymed{WIA_IPA_TYMED, InDataFormat<&WiaDataFormat::tymed>};
inline constexpr ScanSetting kCompression{WIA_IPA_COMPRESSION, InDataFormat<&WiaDataFormat::compression>};
inline constexpr ScanSetting kFormat{WIA_IPA_FORMAT, nullptr};  // a GUID, no number
inline constexpr ScanSetting kBrightness{WIA_IPS_BRIGHTNESS, InAdjust<&WiaImageAdjust::brightness>};
inline constexpr ScanSetting kContrast{WIA_IPS_CONTRAST, InAdjust<&WiaImageAdjust::contrast>};

/** The property storages that hold a record's settings. */
class ScanStorages {
public:
    ScanStorages(const WiaSession& session, WiaItemHandle item) noexcept
        : item_{item}, root_{RootItemOf(session)}, deviceHolds_{session.wiaVersion == 1}
    {
    }

    explicit operator bool() const noexcept { return item_ && root_; }

    IWiaPropertyStorage* Of(const ScanSetting& setting) const noexcept
    {
        return setting.ofDevice && deviceHolds_ ? root_.Get() : item_.Get();
    }

private:
    PropertyStorageRef item_, root_;
    bool deviceHolds_;
};

/** True when the record and its parts are there. */
inline bool IsComplete(const WiaScanProperties* record) noexcept
{
    return record && record->geometry && record->dataFormat && record->adjust;
}

/** True when the parts of a complete record tell the sizes that this library expects. */
inline bool HasGoodParts(const WiaScanProperties& record) noexcept
{
    return record.geometry->structSize == sizeof(WiaImageGeometry) &&
           record.dataFormat->structSize == sizeof(WiaDataFormat) &&
           record.adjust->structSize == sizeof(WiaImageAdjust);
}

}  // namespace vorn
