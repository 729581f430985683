/** The acquire entry points and the platform's acquisition dialogs. */
#include <new>

#include "Internal.h"

namespace vorn {
namespace {

/** The items of a 1.0 dialog, the caller's to release by the platform's contract. */
class DialogItems {
public:
    DialogItems() = default;
    DialogItems(const DialogItems&) = delete;
    DialogItems& operator=(const DialogItems&) = delete;
    ~DialogItems()
    {
        for (LONG i = 0; list.items && i < list.count; ++i) {
            if (list.items[i])
                list.items[i]->Release();
        }
        CoTaskMemFree(list.items);
    }

    ItemList list;
};

/** The file paths and the item of a 2.0 dialog, likewise. */
class DialogFiles {
public:
    DialogFiles() = default;
    DialogFiles(const DialogFiles&) = delete;
    DialogFiles& operator=(const DialogFiles&) = delete;
    ~DialogFiles()
    {
        for (LONG i = 0; paths && i < count; ++i)
            SysFreeString(paths[i]);
        CoTaskMemFree(paths);
    }

    LONG count = 0;
    BSTR* paths = nullptr;
    ComPtr<IWiaItem2> item;
};

int32_t DialogStatus(HRESULT result)
{
    if (result < 0)
        return MapWiaResult(result);
    return result == S_FALSE ? DIALOG_CANCELLED : SUCCESS;
}

int32_t ShowAcquireDialog1(WiaSession* session, HWND parent, uint32_t flags, ItemList& chosen)
{
    return DialogStatus(session->rootItem->DeviceDlg(parent, static_cast<LONG>(flags), WIA_INTENT_NONE,
                                                     &chosen.count, &chosen.items));
}

void GiveFiles(const DialogFiles& written, const FileListTarget& files)
{
    const LONG count = written.paths && written.count > 0 ? written.count : 0;
    if (files.count)
        *files.count = static_cast<uint32_t>(count);
    if (!files.list)
        return;
    if (count == 0)
        return;
    auto** list = static_cast<WCHAR**>(KrnAlloc(static_cast<uint64_t>(count), sizeof(WCHAR*), VORN_HERE));
    for (LONG i = 0; list && i < count; ++i)
        list[i] = CopyNameForCaller(written.paths[i]);
    if (list)
        KrnUntrackResource(KRN_RESOURCE_MEMORY, list, VORN_HERE);
    *files.list = list;
}

int32_t ShowAcquireDialog2(WiaSession* session, HWND parent, uint32_t flags, const AcquireOptions* options,
                           const FileListTarget& files)
{
    FileNameParts parts;
    if (!options || !NamesFile(*options) || !SplitFileName(options->fileName, parts))
        return ERR_INVALID_ARGUMENT;

    // Drive and directory together are a part of the name, so they fit.
    WCHAR folderName[VORNWIA_NAME_CHARS];
    swprintf_s(folderName, VORNWIA_NAME_CHARS, VORN_TEXT("%s%s"), parts.drive, parts.directory);
    const Bstr folder{folderName};
    const Bstr baseName{parts.base};
    if (!folder || !baseName)
        return ERR_OUT_OF_MEMORY;

    DialogFiles written;
    const HRESULT result = session->deviceManager2->GetImageDlg(
        static_cast<LONG>(flags), session->selectedDeviceId, parent, folder.Get(), baseName.Get(),
        &written.count, &written.paths, written.item.Out());
    if (result == S_OK)
        GiveFiles(written, files);
    return DialogStatus(result);
}

/** The arguments that the entry points share. */
struct AcquireRequest {
    HWND parent;
    uint32_t flags;
    WiaItemHandle item;
    const AcquireOptions* options;
    FileListTarget files;
    UserCallback callback;
};

/** From the device's type on: the dialog when it is wanted, then the engine. */
int32_t AcquireFromDevice(WiaSession* session, const AcquireRequest& request)
{
    uint32_t deviceType = 0;
    if (const int32_t status = Vorn_WiaGetSelectedDeviceType(session, &deviceType); status != SUCCESS)
        return status;

    const bool asked = (request.flags & WIA_ACQUIRE_SHOW_DIALOG) == WIA_ACQUIRE_SHOW_DIALOG;
    const uint32_t flags = asked ? request.flags - WIA_ACQUIRE_SHOW_DIALOG : request.flags;
    if (deviceType == StiDeviceTypeScanner && !asked)
        return RunAcquisition(session, request.item, request.options, nullptr, request.files,
                              request.callback);
    if (session->wiaVersion == 2)
        return ShowAcquireDialog2(session, request.parent, flags, request.options, request.files);

    DialogItems chosen;
    if (const int32_t status = ShowAcquireDialog1(session, request.parent, flags, chosen.list);
        status != SUCCESS)
        return status;
    return RunAcquisition(session, nullptr, request.options, &chosen.list, request.files, request.callback);
}

int32_t AcquireFromSession(WiaSession* session, const AcquireRequest& request)
{
    request.files.Clear();
    if (const int32_t status = CheckSelectedDevice(session); status != SUCCESS)
        return status;
    return AcquireFromDevice(session, request);
}

UserCallback BitmapCallback(AcquireCallback callback, void* userData)
{
    UserCallback user;
    user.acquire = callback;
    user.userData = userData;
    return user;
}

UserCallback FileCallback(AcquireToFileCallback callback, void* userData)
{
    UserCallback user;
    user.toFile = true;
    user.file = callback;
    user.userData = userData;
    return user;
}

}  // namespace
}  // namespace vorn

using namespace vorn;

int32_t Vorn_WiaAcquire(WiaSession* session, HWND parent, uint32_t flags, WiaItemHandle item,
                        const AcquireOptions* options, uint32_t* fileCount, WCHAR*** fileList,
                        AcquireCallback callback, void* userData)
{
    return AcquireFromSession(
        session, {parent, flags, item, options, {fileCount, fileList}, BitmapCallback(callback, userData)});
}

int32_t Vorn_WiaAcquireToFile(WiaSession* session, HWND parent, uint32_t flags, WiaItemHandle item,
                              const AcquireOptions* options, uint32_t* fileCount, WCHAR*** fileList,
                              AcquireToFileCallback callback, void* userData)
{
    return AcquireFromSession(
        session, {parent, flags, item, options, {fileCount, fileList}, FileCallback(callback, userData)});
}

int32_t Vorn_WiaAcquireSimple(uint32_t version, HWND parent, int32_t deviceType, uint32_t flags,
                              WiaItemHandle item, const AcquireOptions* options, uint32_t* fileCount,
                              WCHAR*** fileList, AcquireCallback callback, void* userData)
{
    const FileListTarget files{fileCount, fileList};
    files.Clear();
    WiaSession* session = nullptr;
    if (const int32_t status = Vorn_WiaInitSession(version, &session); status != SUCCESS)
        return status;
    int32_t status = Vorn_WiaSelectDeviceDlg(session, parent, deviceType, static_cast<int32_t>(flags & 1));
    if (status == SUCCESS) {
        status = AcquireFromDevice(session,
                                   {parent, flags, item, options, files, BitmapCallback(callback, userData)});
    }
    Vorn_WiaEndSession(session);
    return status;
}
