/**
 * @file BandedTransfer.h
 * The two transfers of the first generation, without their COM clothes.
 */
#pragma once

#include "../model/Item.h"

namespace vorn::wia {

/**
 * Transfers the pages of an item into memory:
 *
 *     DATA_HEADER  STATUS  DATA (header)  DATA...  STATUS  [NEW_PAGE  STATUS  DATA (header)  DATA...  STATUS]...
 *     TERMINATION
 *
 * The first page is taken before the first message, so an empty feeder is told without any. TERMINATION comes
 * whenever the last page that was begun is complete, also when taking the next one fails.
 * @return `S_OK`; what the callback answered, when that is not `S_OK`; the device's failure
 */
HRESULT TransferBanded(Item& item, uint32_t bufferSize, IWiaDataCallback& callback);

/**
 * Transfers into a file: one page for `TYMED_FILE`, all pages asked for into one document for
 * `TYMED_MULTIPAGE_FILE`. Messages are STATUS, NEW_PAGE between pages, TERMINATION. A file without a complete
 * page is not left behind; pages before a failed one stay.
 * @param callback  may be null
 */
HRESULT TransferToFile(Item& item, LONG tymed, const WCHAR* fileName, IWiaDataCallback* callback);

}  // namespace vorn::wia
