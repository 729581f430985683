/** File transfers: one page through the temporary file into its output file. */
#include "CallbackObjects.h"
#include "Internal.h"

namespace vorn {
namespace {

constexpr WStringView kTemporaryName = VORN_TEXT("WiaTempFile.tmp");

/** The name of the temporary file; ERR_TEMP_PATH when there is no directory or no room for the name. */
int32_t MakeTemporaryName(WCHAR (&name)[VORNWIA_NAME_CHARS])
{
    const DWORD needed = GetTempPathW(0, nullptr);
    if (needed == 0 || needed + kTemporaryName.size() > VORNWIA_NAME_CHARS)
        return ERR_TEMP_PATH;
    const DWORD length = GetTempPathW(VORNWIA_NAME_CHARS, name);
    if (length == 0 || length + kTemporaryName.size() >= VORNWIA_NAME_CHARS)
        return ERR_TEMP_PATH;
    name[length + kTemporaryName.copy(name + length, kTemporaryName.size())] = 0;
    return SUCCESS;
}

/** The temporary file of one page. What an earlier page left behind must never be saved as this one. */
class TemporaryFile {
public:
    TemporaryFile(const WCHAR* name, bool removeAtEnd) : name_{name}, removeAtEnd_{removeAtEnd} { Remove(); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile()
    {
        if (removeAtEnd_)
            Remove();
    }

    void Remove()
    {
        if (FileExists(name_))
            DeleteFileW(name_);
    }

private:
    const WCHAR* name_;
    bool removeAtEnd_;
};

/** The 1.0 medium of a transfer to a file. The name is a kernel block, so the platform must not free it. */
class FileMedium {
public:
    FileMedium(uint32_t tymed, const WCHAR* temporaryName)
    {
        medium_.tymed = tymed;
        auto* name = static_cast<WCHAR*>(KrnAllocArray(VORNWIA_NAME_CHARS, sizeof(WCHAR), VORN_HERE));
        if (!name)
            return;
        KrnMemSet(name, 0, VORNWIA_NAME_CHARS * sizeof(WCHAR));
        WStringView{temporaryName}.copy(name, VORNWIA_NAME_CHARS - 1);
        medium_.lpszFileName = name;
    }
    FileMedium(const FileMedium&) = delete;
    FileMedium& operator=(const FileMedium&) = delete;
    ~FileMedium()
    {
        KrnFreeArray(medium_.lpszFileName, VORN_HERE);
        medium_.lpszFileName = nullptr;  // without a name the release leaves the file in place
        ReleaseStgMedium(&medium_);
    }

    bool HasName() const noexcept { return medium_.lpszFileName != nullptr; }
    STGMEDIUM* Get() noexcept { return &medium_; }

private:
    STGMEDIUM medium_{};
};

/** ERR_ABORTED when the application stopped the transfer, else what the platform said. */
int32_t TransferStatus(HRESULT result, bool aborted)
{
    return result == S_FALSE && aborted ? ERR_ABORTED : MapWiaResult(result);
}

int32_t TransferPage1(const PageTransfer& page, const WCHAR* temporaryName)
{
    FileMedium medium{page.tymed, temporaryName};
    DataCallbackPtr callback = MakeDataCallback(page.session, page.workingName, page.tymed, page.callback);
    if (!medium.HasName() || !callback)
        return ERR_OUT_OF_MEMORY;
    const HRESULT result = page.transfer1->idtGetData(medium.Get(), callback.get());
    return result == S_OK ? SUCCESS : TransferStatus(result, callback->aborted);
}

int32_t TransferPage2(const PageTransfer& page, const WCHAR* temporaryName)
{
    TransferCallbackPtr callback =
        MakeTransferCallback(page.session, page.workingName, temporaryName, page.tymed, page.callback);
    if (!callback)
        return ERR_OUT_OF_MEMORY;
    const LONG type = ItemTypeOf(*page.session, page.item);
    if (!(type & WiaItemTypeTransfer))
        return SUCCESS;
    const HRESULT result = page.transfer2->Download(DownloadFlags(type), callback.get());
    if (result < 0 || (result == S_FALSE && callback->aborted))
        return TransferStatus(result, callback->aborted);
    return SUCCESS;
}

/** Names a page that gets a file of its own; the first of a call keeps its name when files are replaced. */
int32_t NamePage(const PageTransfer& page)
{
    if (page.options->multiPageFile || page.options->appendToFile)
        return SUCCESS;
    if (!page.options->overwriteFile)
        return MakeUniqueFileName(page.workingName);
    return g_processState.savedFileCounter ? MakeNumberedFileName(page.workingName) : SUCCESS;
}

int32_t TellPageEnd(const PageTransfer& page)
{
    const UserCallback& user = page.callback;
    if (user.toFile) {
        return user.file ? user.file(page.session, page.workingName, 0, TRANSFER_STATE_END, user.userData)
                         : SUCCESS;
    }
    return user.acquire
               ? user.acquire(page.session, nullptr, page.workingName, 0, TRANSFER_STATE_END, user.userData)
               : SUCCESS;
}

int32_t TransferAndSave(const PageTransfer& page)
{
    if (const int32_t status = NamePage(page); status != SUCCESS)
        return status;
    WCHAR temporaryName[VORNWIA_NAME_CHARS];
    if (const int32_t status = MakeTemporaryName(temporaryName); status != SUCCESS)
        return status;

    const bool generation2 = page.transfer2 != nullptr;
    TemporaryFile temporaryFile{temporaryName, generation2};
    if (const int32_t status =
            generation2 ? TransferPage2(page, temporaryName) : TransferPage1(page, temporaryName);
        status != SUCCESS)
        return status;
    const int32_t saved = SaveTransferredFile(page.workingName, temporaryName,
                                              generation2 ? SourceFile::Goes : SourceFile::Stays,
                                              *page.options, page.transferredCount, page.files);
    if (generation2)
        temporaryFile.Remove();
    return TellPageEnd(page) == ERR_ABORTED ? ERR_ABORTED : saved;
}

}  // namespace

int32_t TransferPageToFile(const PageTransfer& page) noexcept
{
    const int32_t status = TransferAndSave(page);
    if (!page.options->multiPageFile)
        WStringView{page.options->fileName, VORNWIA_NAME_CHARS}.copy(page.workingName, VORNWIA_NAME_CHARS);
    return status;
}

}  // namespace vorn
