/**
 * @file ScannerRules.h
 * Which values of a scanner's item follow which: area and resolution, data type and depth, medium and format.
 */
#pragma once

#include "../model/Item.h"

namespace vorn::wia {

/** What an item does once one of its properties has changed. */
void FollowScannerItem(Item& item, PROPID changed);

/** What an item does once a write is in force: its page size is what its area amounts to. */
void TellPageSize(Item& item, PROPID changed);

/** What a first-generation root does: its items follow another document source or page size. */
void FollowScannerRoot(Item& root, PROPID changed);

}  // namespace vorn::wia
