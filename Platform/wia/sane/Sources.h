/**
 * @file Sources.h
 * Where a scanner takes paper from, in its own words.
 */
#pragma once

#include "Vocabulary.h"

namespace vorn::wia {

/** The names are the back end's; a name may be empty where the device has no choice. */
struct Sources {
    std::string flatbed, feeder, duplex, back;
    bool hasFlatbed = false, hasFeeder = false, hasDuplex = false, hasBack = false;
};

/** @param deviceType  SANE's word for what the device is; tells where there is no option for the source */
Sources SourcesOf(Scanner& scanner, std::string_view deviceType);

/** The kind that is in force. */
SourceKind SourceInForce(Scanner& scanner, const Sources& sources);

/** Scans from there from now on; a kind that the device does not have gives way to its feeder. */
void UseSource(Scanner& scanner, const Sources& sources, SourceKind kind);

}  // namespace vorn::wia
