/**
 * @file ImageDialog.h
 * The image dialog of the second generation: chooses items and transfers them into files.
 */
#pragma once

#include "../model/Item.h"

namespace vorn::wia {

struct ImageDialogRequest {
    HWND parent;
    LONG flags;
    BSTR folder;    ///< must exist; null or empty: the current directory
    BSTR fileName;  ///< without extension; the names of the files are formed from it
};

/**
 * Lets the dialog provider choose, transfers each chosen item in its own format, and tells which files were
 * written. No file is overwritten: after `name.bmp` comes `name 1.bmp`.
 * @param paths     array of task memory with a BSTR a file, the client's to free
 * @param acquired  receives the first item transferred; may be null
 * @return `S_OK`; `S_FALSE` when the user chose nothing; a failure, after which the pages that were complete
 *         stay on disk
 */
HRESULT RunImageDialog(const ImageDialogRequest& request, const std::shared_ptr<ItemTree>& tree, Item& item,
                       LONG* count, BSTR** paths, IWiaItem2** acquired);

}  // namespace vorn::wia
