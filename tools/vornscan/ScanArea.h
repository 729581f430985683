// The piece of paper to scan. The device counts it in dots: it must stay the same when the resolution changes.
#pragma once

#include "Options.h"
#include "Session.h"
#include "SettingsWriter.h"

namespace vornscan {

class ScanArea {
public:
    /** Remembers the area in force. */
    explicit ScanArea(const Item& item);

    /**
     * Adds what the options ask of the area, in dots of the resolution in force; what they leave open stays on
     * the paper where it was.
     * @return false when there is nothing to write
     */
    bool AddTo(SettingsWriter& writer, const Item& item, const Options& options) const;

private:
    struct Span {
        double start = 0;   ///< millimetres
        double length = 0;  ///< not positive when the item has no area
        double dot = 0;     ///< what these are exact to
    };
    Span spans_[2];
};

}  // namespace vornscan
