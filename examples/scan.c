/*
 * Scans a page into a BMP file, and shows how far it is. A file that is there already stays: the page then goes
 * into "page (1).bmp" and so on.
 *
 *   vornwia_scan page.bmp
 */
#include <stdio.h>

#include "Vornkrnx.h"
#include "vornwia.h"

#define FORMAT 4106
#define MEDIUM 4108

static const GUID kBmp = {0xB96B3CAB, 0x0728, 0x11D3, {0x9D, 0x7B, 0x00, 0x00, 0xF8, 0x1E, 0xF3, 0x2E}};

/* An AcquireToFileCallback. */
static int32_t ShowProgress(WiaSession* session, const WCHAR* fileName, int32_t percent, int32_t state,
                            void* userData)
{
    (void)session, (void)fileName, (void)userData;
    fprintf(stderr, state == TRANSFER_STATE_END ? "\r      \r" : "\r%3d %%", percent);
    return SUCCESS; /* ERR_ABORTED would stop the scan */
}

/* An EnumChildItemsCallback that takes the first item. */
static int32_t TakeFirst(WiaSession* session, uint32_t count, WiaItemHandle item, void* userData)
{
    (void)session, (void)count;
    *(WiaItemHandle*)userData = item;
    return ERR_ABORTED;
}

/* Prints the files' names and frees the list, which belongs to the caller. */
static void PrintAndFree(uint32_t count, WCHAR** files)
{
    for (uint32_t i = 0; i < count; ++i) {
        char* name = KrnAllocAnsiCopy(files[i]);
        puts(name ? name : "?");
        KrnFreeAnsiCopy(name);
        KrnFree(files[i], __LINE__, "scan");
    }
    KrnFree(files, __LINE__, "scan");
}

static int32_t Scan(WiaSession* session, WiaItemHandle item, const AcquireOptions* options)
{
    uint32_t count = 0;
    WCHAR** files = NULL;
    int32_t status = Vorn_WiaSetPropertyLong(session, item, NULL, MEDIUM, WIA_MEDIUM_FILE);
    if (status == SUCCESS)
        status = Vorn_WiaSetPropertyGUID(session, item, NULL, FORMAT, &kBmp);
    if (status == SUCCESS)
        status = Vorn_WiaAcquireToFile(session, NULL, 0, item, options, &count, &files, ShowProgress, NULL);
    PrintAndFree(count, files);
    return status;
}

int main(int argc, char** argv)
{
    AcquireOptions options = {.structSize = sizeof options};
    WCHAR* name = KrnAllocWideCopy(argc > 1 ? argv[1] : "page.bmp");
    for (size_t i = 0; name && name[i] && i + 1 < VORNWIA_NAME_CHARS; ++i)
        options.fileName[i] = name[i];
    KrnFree(name, __LINE__, "scan");

    WiaSession* session = NULL;
    WiaItemHandle root = NULL, item = NULL;
    int32_t status = Vorn_WiaInitSession(Vorn_WiaIsAvailable(2) == SUCCESS ? 2 : 1, &session);
    if (status == SUCCESS)
        status = Vorn_WiaSelectDeviceDlg(session, NULL, WIA_DEVICE_TYPE_SCANNER, 0);
    if (status == SUCCESS)
        status = Vorn_WiaGetRootItem(session, NULL, &root);
    if (status == SUCCESS)
        Vorn_WiaEnumChildItems(session, root, TakeFirst, &item);
    if (item) {
        status = Scan(session, item, &options);
        Vorn_WiaFreeItem(session, item);
    }
    if (session)
        Vorn_WiaEndSession(session);
    if (!item || status != SUCCESS)
        fprintf(stderr, "vornwia_scan: no page was scanned (status %d)\n", status);
    return item && status == SUCCESS ? 0 : 1;
}
