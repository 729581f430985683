/**
 * @file ScannerRules.h
 * Which values of a scanner's item follow which: area and resolution, data type and depth, medium and format.
 */
#pragma once

#include "../model/Item.h"

namespace vorn::wia {

/** What an item does once one of its properties has changed. */
void FollowScannerItem(Item& item, PROPID changed);

/** What a first-generation root does: another document source has another size, which its items follow. */
void FollowScannerRoot(Item& root, PROPID changed);

}  // namespace vorn::wia
