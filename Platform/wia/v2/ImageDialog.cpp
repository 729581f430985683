#include "ImageDialog.h"

#include <algorithm>

#include "../Service.h"
#include "../model/FileNames.h"
#include "ItemFace2.h"
#include "StreamTransfer.h"

namespace vorn::wia {

namespace {

WStringView TextOf(BSTR text) noexcept
{
    return text ? WStringView{text, SysStringLen(text)} : WStringView{};
}

/** Gives a transfer one new file a page, and removes the one that a page was not completed in. */
class FileWriter final : public ComObject<IWiaTransferCallback> {
public:
    FileWriter(WStringView folder, WStringView name, std::vector<WString>& files) noexcept
        : folder_{folder}, name_{name}, files_{files}
    {
    }

    /** The extension of the files to come. */
    void UseExtension(WStringView extension) noexcept { extension_ = extension; }

    HRESULT STDMETHODCALLTYPE TransferCallback(LONG, WiaTransferParams* params) override
    {
        return NoThrow([&] {
            if (params->lMessage == WIA_TRANSFER_MSG_END_OF_STREAM) {
                files_.push_back(open_);
                open_.clear();
            }
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE GetNextStream(LONG, BSTR, BSTR, IStream** stream) override
    {
        return NoThrow([&] {
            open_ = FreeFileName(folder_, name_, extension_);
            const HRESULT result = SHCreateStreamOnFileW(open_.c_str(), STGM_CREATE | STGM_READWRITE, stream);
            if (FAILED(result))
                open_.clear();
            return result;
        });
    }

    void DropUnfinished() noexcept
    {
        if (!open_.empty())
            DeleteFileW(open_.c_str());
    }

private:
    WStringView folder_, name_, extension_;
    std::vector<WString>& files_;
    WString open_;
};

HRESULT TransferToFiles(const ImageDialogRequest& request, const std::vector<Item*>& items,
                        std::vector<WString>& files)
{
    const auto writer =
        ComPtr<FileWriter>::Adopt(new FileWriter{TextOf(request.folder), TextOf(request.fileName), files});
    const std::atomic<bool> cancelled{false};
    for (Item* item : items) {
        writer->UseExtension(ExtensionOf(item->Properties().Guid(WIA_IPA_FORMAT)));
        if (const HRESULT result = StreamTransfer{*writer.Get(), cancelled}.Run(*item, false);
            result != S_OK) {
            writer->DropUnfinished();
            return result;
        }
    }
    return S_OK;
}

/** The file names as a client gets them. */
HRESULT HandOver(const std::vector<WString>& files, LONG* count, BSTR** paths)
{
    std::vector<Bstr> texts;
    for (const WString& file : files) {
        texts.emplace_back(WStringView{file});
        if (!texts.back())
            return E_OUTOFMEMORY;
    }
    auto* array = static_cast<BSTR*>(CoTaskMemAlloc(texts.size() * sizeof(BSTR)));
    if (!array)
        return E_OUTOFMEMORY;
    std::transform(texts.begin(), texts.end(), array, [](Bstr& text) { return text.Detach(); });
    *paths = array;
    *count = static_cast<LONG>(texts.size());
    return S_OK;
}

HRESULT Ask(const ImageDialogRequest& request, Item& item, std::vector<Item*>& chosen,
            std::vector<WString>& files)
{
    DialogProvider::ImageQuestion question{
        request.parent, request.flags, TextOf(request.folder), TextOf(request.fileName), {}};
    if (item.IsTransferable())
        question.items.push_back(&item);
    item.CollectTransferable(question.items);
    const HRESULT result = Service::Instance().Dialogs()->SelectImages(question, chosen, files);
    return result == S_OK && chosen.empty() && files.empty() ? S_FALSE : result;
}

}  // namespace

HRESULT RunImageDialog(const ImageDialogRequest& request, const std::shared_ptr<ItemTree>& tree, Item& item,
                       LONG* count, BSTR** paths, IWiaItem2** acquired)
{
    if (acquired)
        *acquired = nullptr;
    if (!count || !paths)
        return E_POINTER;
    *count = 0;
    *paths = nullptr;
    if (TextOf(request.fileName).empty())
        return E_INVALIDARG;
    return NoThrow([&] {
        std::vector<Item*> chosen;
        std::vector<WString> files;
        HRESULT result = Ask(request, item, chosen, files);
        if (result == S_OK)
            result = TransferToFiles(request, chosen, files);
        if (result == S_OK)
            result = HandOver(files, count, paths);
        if (result == S_OK && acquired && !chosen.empty())
            *acquired = ItemFace2::Of(tree, *chosen.front());
        return result;
    });
}

}  // namespace vorn::wia
