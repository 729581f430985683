/** Output files: names, copying and appending of transferred pages, the list for the caller. */
#include <algorithm>
#include <iterator>
#include <string>

#include "../BitmapUtil.h"
#include "Internal.h"
#include "Vornfilx.h"

namespace vorn {
namespace {

/**
 * "C:" "\scans\" "page" 2 ".bmp" gives "C:\scans\page (2).bmp". A name that does not fit is refused, and `name`
 * stays as it was.
 */
int32_t ComposeNumberedName(const FileNameParts& parts, uint32_t number, WCHAR* name)
{
    // Asked first: on some platforms swprintf_s ends the process when the text does not fit.
    const size_t length = TextLength(parts.drive) + TextLength(parts.directory) + TextLength(parts.base) +
                          std::to_string(number).size() + 3 + TextLength(parts.extension);
    if (length >= VORNWIA_NAME_CHARS)
        return ERR_INVALID_ARGUMENT;
    swprintf_s(name, VORNWIA_NAME_CHARS, VORN_TEXT("%s%s%s (%u)%s"), parts.drive, parts.directory, parts.base,
               static_cast<unsigned>(number), parts.extension);
    return SUCCESS;
}

/** Adds the pages of a file to another one; with FIL_SAVE_NEW the first of them makes it. */
int32_t AppendPages(const WCHAR* destination, const WCHAR* source, int32_t mode)
{
    FilLoadOptions options{};
    FilFileInfo info{};
    FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
    int32_t status = FilInfo(source, &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, &options);
    if (status != FIL_SUCCESS)
        return status;

    BitmapHandle bitmap{};
    for (uint32_t page = 1; status == FIL_SUCCESS && page <= info.pageCount; ++page) {
        options.page = page;
        status =
            FilLoad(source, &bitmap, KRN_BITMAP_SIZE, info.bitsPerPixel, info.colorOrder, &options, nullptr);
        if (status == FIL_SUCCESS) {
            status = FilSave(destination, &bitmap, info.format, info.bitsPerPixel, mode,
                             FIL_COMPRESSION_DEFAULT, nullptr, nullptr, nullptr);
        }
        mode = FIL_SAVE_ADD_PAGE;
    }
    if (HasImage(&bitmap))
        KrnFreeBitmap(&bitmap);
    return status;
}

/**
 * Another process may take a name at any moment: whether it is free is known only when it is ours. `take` makes the file
 * and fails when it is there; `isTaken` says whether it failed for that reason.
 */
template <typename Take, typename IsTaken>
int32_t TakeFreeName(WCHAR* destination, const AcquireOptions& options, Take take, IsTaken isTaken)
{
    for (;;) {
        if (const int32_t status = MakeUniqueFileName(destination); status != SUCCESS)
            return status;
        const int32_t status = take();
        if (!isTaken(status) || !FileExists(destination))  // a link to nothing looks free
            return status;
        KrnMemCopy(destination, options.fileName, sizeof options.fileName);
    }
}

int32_t CopyToOwnFile(WCHAR* destination, const WCHAR* source, const AcquireOptions& options, SourceFile then)
{
    ++g_processState.savedFileCounter;
    const auto copy = [&](BOOL failIfExists) {
        const auto function = then == SourceFile::Goes ? PassFileW : CopyFileW;
        return function(source, destination, failIfExists) ? SUCCESS : ERR_FILE_COPY;
    };
    if (options.overwriteFile)
        return copy(FALSE);
    return TakeFreeName(
        destination, options, [&] { return copy(TRUE); },
        [](int32_t status) { return status != SUCCESS && GetLastError() == ERROR_FILE_EXISTS; });
}

/** Into one file for all pages; the first of a new one finds its name. */
int32_t AddToFile(WCHAR* destination, const WCHAR* source, const AcquireOptions& options, bool first)
{
    if (!first || options.appendToFile || options.overwriteFile)
        return AppendPages(destination, source, FIL_SAVE_ADD_PAGE);
    return TakeFreeName(
        destination, options, [&] { return AppendPages(destination, source, FIL_SAVE_NEW); },
        [](int32_t status) { return status == FIL_ERR_ACCESS; });
}

/** Makes room for `count` names. Without memory there is no list: a caller would read past a shorter one. */
bool GrowList(WCHAR*** list, uint32_t count)
{
    const uint32_t held = *list ? count - 1 : 0;
    auto** grown = static_cast<WCHAR**>(KrnRealloc(*list, uint64_t{count} * sizeof(WCHAR*), VORN_HERE));
    if (grown) {
        std::fill(grown + held, grown + count, nullptr);
    } else {
        for (uint32_t i = 0; i < held; ++i)
            KrnFree((*list)[i], VORN_HERE);
        KrnFree(*list, VORN_HERE);
    }
    *list = grown;
    return grown != nullptr;
}

void RecordFile(const WCHAR* name, int32_t* transferredCount, const FileListTarget& files)
{
    ++*transferredCount;
    const auto count = static_cast<uint32_t>(*transferredCount);
    if (files.count)
        *files.count = count;
    if (files.list && GrowList(files.list, count))
        (*files.list)[count - 1] = CopyNameForCaller(name);
}

}  // namespace

WCHAR* CopyNameForCaller(const WCHAR* name) noexcept
{
    const size_t length = TextLength(name);
    if (!name || length >= VORNWIA_NAME_CHARS)
        return nullptr;
    auto* copy = static_cast<WCHAR*>(KrnAlloc(VORNWIA_NAME_CHARS, sizeof(WCHAR), VORN_HERE));
    if (!copy)
        return nullptr;
    KrnMemSet(copy, 0, VORNWIA_NAME_CHARS * sizeof(WCHAR));
    KrnMemCopy(copy, name, length * sizeof(WCHAR));
    KrnUntrackResource(KRN_RESOURCE_MEMORY, copy, VORN_HERE);
    return copy;
}

bool NamesFile(const AcquireOptions& options) noexcept
{
    const auto* end = std::find(std::begin(options.fileName), std::end(options.fileName), 0);
    return end != std::begin(options.fileName) && end != std::end(options.fileName);
}

bool FileExists(const WCHAR* name) noexcept
{
    return _waccess(name, 0) != -1;
}

bool SplitFileName(const WCHAR* name, FileNameParts& parts) noexcept
{
    return _wsplitpath_s(name, parts.drive, std::size(parts.drive), parts.directory,
                         std::size(parts.directory), parts.base, std::size(parts.base), parts.extension,
                         std::size(parts.extension)) == 0;
}

int32_t MakeNumberedFileName(WCHAR* name) noexcept
{
    FileNameParts parts;
    if (!SplitFileName(name, parts))
        return ERR_INVALID_ARGUMENT;
    return ComposeNumberedName(parts, g_processState.savedFileCounter, name);
}

int32_t MakeUniqueFileName(WCHAR* name) noexcept
{
    if (!FileExists(name))
        return SUCCESS;
    FileNameParts parts;
    if (!SplitFileName(name, parts))
        return ERR_INVALID_ARGUMENT;
    for (uint32_t number = 1;; ++number) {
        if (const int32_t status = ComposeNumberedName(parts, number, name); status != SUCCESS)
            return status;
        if (!FileExists(name))
            return SUCCESS;
    }
}

int32_t SaveTransferredFile(WCHAR* destination, const WCHAR* source, SourceFile then,
                            const AcquireOptions& options, int32_t* transferredCount,
                            const FileListTarget& files) noexcept
{
    const int32_t status = options.multiPageFile || options.appendToFile
                               ? AddToFile(destination, source, options, *transferredCount == 0)
                               : CopyToOwnFile(destination, source, options, then);
    if (status == SUCCESS)
        RecordFile(destination, transferredCount, files);
    return status;
}

}  // namespace vorn
