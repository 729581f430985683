/**
 * @file ImageFolder.h
 * Paper made of image files: the pages of the files in a folder, each fed once.
 */
#pragma once

#include "../Export.h"
#include "../model/Page.h"
#include "com.h"

namespace vorn::wia {

class VORN_WIA_API ImageFolder final : public PageSource {
public:
    /**
     * Lists the folder's images, in natural order. None of them is opened before its turn.
     * @param folder            name of the folder
     * @param sheetWidthInches  as wide a picture is taken to be whose file tells no resolution
     * @param source            set on success
     * @return `E_INVALIDARG` when there is no such folder or no image in it
     */
    static HRESULT Open(const WCHAR* folder, double sheetWidthInches, std::shared_ptr<PageSource>& source);

    ImageFolder(std::vector<WString> files, double sheetWidthInches) noexcept;

    bool HasPage() const override { return nextFile_ < files_.size(); }

    /**
     * A page that cannot be read gives `WIA_ERROR_GENERAL_ERROR`; the call after that goes on with the page
     * behind it, or with the next file when this one cannot be read at all.
     */
    HRESULT NextPage(const PageRequest& request, std::unique_ptr<Page>& page) override;

private:
    HRESULT CountPages();
    void Advance() noexcept;

    std::vector<WString> files_;
    double sheetWidthInches_;
    size_t nextFile_ = 0;
    uint32_t pagesDone_ = 0;  // of that file
    uint32_t pageCount_ = 0;  // of that file; 0 before it was opened
};

}  // namespace vorn::wia
