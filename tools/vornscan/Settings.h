// Brings the device to the state that the options ask for.
#pragma once

#include <optional>

#include "Destination.h"
#include "Options.h"
#include "PageFiles.h"
#include "Session.h"

namespace vornscan {

/** Lets a virtual device scan the image files of a folder. */
void SetVirtualPages(const Session& session, const Device& device, const std::string& folder);

/**
 * Chooses the scanner's item to transfer and writes the options' settings to the device, in the order that
 * the device must see them.
 * @throws Failure that names option, value and device for a setting that the device does not take
 */
Item PrepareScanner(const Session& session, const Device& device, const Options& options);

/**
 * Chooses how the scanner's pages come: as a file that the device writes in the format wanted, else as one that the tool
 * saves in that format, else as bitmaps.
 */
Delivery PrepareTransfer(const Session& session, const Item& item, const Device& device,
                         const Options& options, const Destination& destination);

/**
 * As PrepareTransfer, for every picture of a camera; in generation 2 the platform's dialog chooses the format
 * itself. Settings of scanners are refused.
 */
Delivery PrepareCamera(const Session& session, const Device& device, const Options& options,
                       const Destination& destination);

}  // namespace vornscan
