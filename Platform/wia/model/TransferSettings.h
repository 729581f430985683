/**
 * @file TransferSettings.h
 * How an item's pages are handed over: its media and formats, and the properties that tell them.
 */
#pragma once

#include "Item.h"

namespace vorn::wia {

/** The media and formats of a scanner's item: bitmaps and files, one page each or several. */
void AddTransferProperties(ItemDefinition& item, Generation generation);

/** The quality of JPEG data that the item's settings ask for. */
LONG JpegQualityOf(const PropertyTable& table);

/** The formats of the medium in force; one that it does not have gives way to its first. */
void FollowMedium(Item& item);
/** The file name extension of the format in force. */
void FollowFormat(const PropertyTable& table);

}  // namespace vorn::wia
