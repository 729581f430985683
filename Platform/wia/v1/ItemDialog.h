/**
 * @file ItemDialog.h
 * The dialog of the first generation that chooses what to transfer.
 */
#pragma once

#include <vector>

#include "../model/Item.h"

namespace vorn::wia {

/**
 * Lets the dialog provider choose among the transferable items at and below `item`; an intent other than 0 is
 * set on those chosen.
 * @return `S_OK` with one item or more; `S_FALSE` when the user chose none; a failure
 */
HRESULT ChooseItems(HWND parent, LONG flags, LONG intent, Item& item, std::vector<Item*>& chosen);

/** Gives the items to a client: an array in task memory, a reference each. */
HRESULT HandOver(const std::shared_ptr<ItemTree>& tree, const std::vector<Item*>& chosen, LONG* count,
                 IWiaItem*** items);

}  // namespace vorn::wia
