// The library's record of settings, with its parts.
#pragma once

#include "Session.h"

namespace vornscan {

/** What is in force for an item, and then what is to be. */
class ScanRecord {
public:
    /** Reads what is in force. */
    ScanRecord(const Session& session, const Item& item);
    ScanRecord(const ScanRecord&) = delete;

    /** The field of a property; null for one that the record does not have. */
    uint32_t* Field(uint32_t property) noexcept;
    GUID& Format() noexcept { return format_; }
    WiaScanProperties* Get() noexcept { return &properties_; }

private:
    GUID format_{};
    WiaImageGeometry geometry_{};
    WiaDataFormat data_{};
    WiaImageAdjust adjust_{};
    WiaScanProperties properties_{};
};

}  // namespace vornscan
