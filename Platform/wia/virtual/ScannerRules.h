/**
 * @file ScannerRules.h
 * Which values of a scanner's item follow which: area, resolution and page size, data type and depth, medium and
 * format.
 */
#pragma once

#include "../model/Item.h"

namespace vorn::wia {

/** The page sizes that a source offers which is so many thousandths of an inch wide and high. */
std::vector<LONG> PageSizesWithin(LONG width, LONG height);

/** The page size that a piece of paper is; WIA_PAGE_CUSTOM for one that has no name. */
LONG PageSizeOf(LONG width, LONG height) noexcept;

/** How large a page size is in thousandths of an inch; false for one without dimensions. */
bool DimensionsOf(LONG pageSize, LONG& width, LONG& height) noexcept;

/** What an item does once one of its properties has changed. */
void FollowScannerItem(Item& item, PROPID changed);

/** What an item does once a write is in force: its page size is what its area amounts to. */
void TellPageSize(Item& item, PROPID changed);

/** What a first-generation root does: its items follow another document source or page size. */
void FollowScannerRoot(Item& root, PROPID changed);

}  // namespace vorn::wia
