/*
 * The exported functions of the image file library: they check, find the codec, and delegate.
 */
#include <algorithm>
#include <cstddef>
#include <string_view>

#include "Codec.h"
#include "SourcePage.h"
#include "io/NewFile.h"

using namespace vorn::fil;

static_assert(sizeof(FilFileInfo) == FIL_INFO_SIZE && offsetof(FilFileInfo, pageCount) == 1112);
static_assert(sizeof(FilSaveOptions) == FIL_SAVE_OPTIONS_SIZE);
static_assert(sizeof(FilLoadOptions) == FIL_LOAD_OPTIONS_SIZE && offsetof(FilLoadOptions, page) == 20);

namespace {

uint32_t PageOf(const FilLoadOptions* options) noexcept
{
    return options ? options->page : 1;
}

bool AreOptionsValid(const FilLoadOptions* options) noexcept
{
    return !options || (options->structSize == FIL_LOAD_OPTIONS_SIZE && options->page >= 1);
}

bool IsColorOrder(uint32_t order) noexcept
{
    return order == KRN_COLOR_ORDER_ANY || order == KRN_COLOR_ORDER_BGR;
}

void FillInfo(FilFileInfo& out, const WCHAR* name, const Codec& codec, uint64_t bytes, const PageInfo& page,
              uint32_t pageCount) noexcept
{
    out = FilFileInfo{};
    out.structSize = FIL_INFO_SIZE;
    out.format = codec.Format();
    if (name)
        std::basic_string_view<WCHAR>{name}.copy(out.fileName, std::size(out.fileName) - 1);
    out.bitsPerPixel = page.bitsPerPixel;
    out.width = page.width;
    out.height = page.height;
    out.xDpi = page.xDpi;
    out.yDpi = page.yDpi;
    out.fileBytes = bytes;
    out.colorOrder = KRN_COLOR_ORDER_BGR;
    out.pageCount = pageCount;
}

int32_t Inform(ByteSource& source, const WCHAR* name, uint32_t page, bool countPages,
               FilFileInfo& info) noexcept
{
    const Codec* const codec = CodecOfContent(source);
    if (!codec)
        return FIL_ERR_UNKNOWN_FORMAT;
    PageInfo pageInfo;
    if (const int32_t status = codec->ReadInfo(source, page, pageInfo); status != FIL_SUCCESS)
        return status;
    uint32_t pageCount = 1;
    if (countPages)
        if (const int32_t status = codec->CountPages(source, pageCount); status != FIL_SUCCESS)
            return status;
    FillInfo(info, name, *codec, source.Size(), pageInfo, pageCount);
    return FIL_SUCCESS;
}

/** What the caller of a load wants; the record is valid. */
struct LoadRequest {
    BitmapHandle& bitmap;
    uint32_t bitsPerPixel;
    uint32_t page;
    FilFileInfo* info;
};

/** Tells what a header without its rows tells: geometry, and a palette that becomes the caller's. */
int32_t DescribeHeader(const PageInfo& page, BitmapHandle& bitmap) noexcept
{
    BitmapHandle described{};
    if (page.paletteCount > 0) {
        const uint64_t bytes = uint64_t{page.paletteCount} * kPaletteEntryBytes;
        described.palette = static_cast<uint8_t*>(KrnAlloc(bytes, 1, __LINE__, "Vornfilx/Files"));
        if (!described.palette)
            return FIL_ERR_OUT_OF_MEMORY;
        KrnMemCopy(described.palette, page.palette.data(), bytes);
    }
    described.colorOrder = KRN_COLOR_ORDER_BGR;
    described.width = page.width;
    described.height = page.height;
    described.bitsPerPixel = page.storedBits;
    described.viewPerspective = page.viewPerspective;
    described.paletteCount = page.paletteCount;
    described.xDpi = page.xDpi;
    described.yDpi = page.yDpi;
    bitmap = described;
    return FIL_ERR_CORRUPT;
}

int32_t LoadFrom(ByteSource& source, const WCHAR* name, const LoadRequest& request) noexcept
{
    const Codec* const codec = CodecOfContent(source);
    if (!codec)
        return FIL_ERR_UNKNOWN_FORMAT;
    PageInfo page;
    if (const int32_t status = codec->ReadInfo(source, request.page, page); status != FIL_SUCCESS)
        return status;
    if (page.headerOnly)
        return source.Memory() ? DescribeHeader(page, request.bitmap) : FIL_ERR_CORRUPT;
    if (request.bitsPerPixel != 0 && request.bitsPerPixel != page.bitsPerPixel &&
        request.bitsPerPixel != page.storedBits)
        return FIL_ERR_UNSUPPORTED;
    if (const int32_t status = codec->Load(source, request.page, request.bitmap); status != FIL_SUCCESS)
        return status;
    if (!request.info)
        return FIL_SUCCESS;
    uint32_t pageCount = 1;
    codec->CountPages(source, pageCount);
    FillInfo(*request.info, name, *codec, source.Size(), page, pageCount);
    return FIL_SUCCESS;
}

/** The checks that both loads share; afterwards the record is empty. */
int32_t PrepareLoad(const void* origin, BitmapHandle* bitmap, uint32_t bitmapSize, uint32_t colorOrder,
                    const FilLoadOptions* options) noexcept
{
    if (!origin || !bitmap || bitmapSize != KRN_BITMAP_SIZE || !IsColorOrder(colorOrder) ||
        !AreOptionsValid(options))
        return FIL_ERR_INVALID_ARGUMENT;
    KrnFreeBitmap(bitmap);
    *bitmap = BitmapHandle{};
    return FIL_SUCCESS;
}

/** True when the record's fields agree with each other, so that a codec may trust them. */
bool IsWholeBitmap(const BitmapHandle& bitmap) noexcept
{
    constexpr uint32_t kDepths[] = {1, 4, 8, 16, 24, 32};
    const uint64_t rowBytes = KrnRowBytes(bitmap.width, bitmap.bitsPerPixel);
    return (bitmap.flags & KRN_BITMAP_HAS_IMAGE) && bitmap.image && bitmap.width > 0 && bitmap.height > 0 &&
           std::find(std::begin(kDepths), std::end(kDepths), bitmap.bitsPerPixel) != std::end(kDepths) &&
           bitmap.rowBytes == rowBytes && rowBytes <= KRN_MAX_IMAGE_BYTES / bitmap.height &&
           bitmap.imageBytes == rowBytes * bitmap.height &&
           (bitmap.viewPerspective == KRN_VIEW_BOTTOM_LEFT || bitmap.viewPerspective == KRN_VIEW_TOP_LEFT);
}

/** What is saved, and how; all of it is valid. */
struct SaveRequest {
    const Codec& codec;
    PageRows* bitmap;
    ByteSource* encoded;  ///< a file whose picture is taken as it is, in place of a bitmap
    SaveSettings settings;
};

bool AreOptionsValid(const FilSaveOptions* options) noexcept
{
    return !options || (options->structSize == FIL_SAVE_OPTIONS_SIZE && options->jpegQuality <= 100);
}

bool HasCompression(const Codec& codec, int32_t compression) noexcept
{
    const auto known = codec.Compressions();
    return compression == FIL_COMPRESSION_DEFAULT ||
           std::find(known.begin(), known.end(), compression) != known.end();
}

/** Writes the page; after a failure the file has its old bytes. */
int32_t WritePage(File& file, const SaveRequest& request) noexcept
{
    FileUpdate update{file};
    const int32_t status = request.encoded
                               ? request.codec.WriteEncoded(update, *request.encoded)
                               : request.codec.WritePage(update, *request.bitmap, request.settings);
    return status == FIL_SUCCESS ? update.Commit() : status;
}

/** Told before the work is done: a new file takes only a free name. */
int32_t CheckIsFree(const WCHAR* name) noexcept
{
    File file;
    const int32_t status = file.Open(name, File::Mode::Read);
    if (status == FIL_ERR_NOT_FOUND)
        return FIL_SUCCESS;
    return status == FIL_SUCCESS ? FIL_ERR_ACCESS : status;
}

int32_t SaveNew(const WCHAR* name, const SaveRequest& request) noexcept
{
    NewFile file;
    int32_t status = CheckIsFree(name);
    if (status == FIL_SUCCESS)
        status = file.Create(name);
    if (status == FIL_SUCCESS)
        status = WritePage(file.Content(), request);
    return status == FIL_SUCCESS ? file.TakeName() : status;
}

bool IsThere(const WCHAR* name) noexcept
{
    File file;
    return file.Open(name, File::Mode::Read) == FIL_SUCCESS;
}

/** What a page is added to is examined whole: a page behind damage could not be reached. */
int32_t CheckTakesPages(File& file, const Codec& codec) noexcept
{
    if (file.Size() == 0)
        return FIL_SUCCESS;
    FileSource source{file};
    const Codec* const present = CodecOfContent(source);
    if (present != &codec)
        return present ? FIL_ERR_UNSUPPORTED : FIL_ERR_UNKNOWN_FORMAT;
    FilFileInfo info;
    return Inform(source, nullptr, 1, true, info);
}

int32_t AddPage(const WCHAR* name, const SaveRequest& request) noexcept
{
    for (;;) {
        File file;
        int32_t status = file.OpenLocked(name, File::Mode::Update);
        if (status == FIL_ERR_NOT_FOUND) {
            status = SaveNew(name, request);
            if (status == FIL_ERR_ACCESS && IsThere(name))
                continue;  // another program has made the file meanwhile: the page goes into that one
            return status;
        }
        if (status == FIL_SUCCESS)
            status = CheckTakesPages(file, request.codec);
        if (status == FIL_SUCCESS)
            status = WritePage(file, request);
        return status == FIL_SUCCESS ? file.Close() : status;
    }
}

int32_t Save(const WCHAR* name, int32_t mode, const SaveRequest& request) noexcept
{
    return mode == FIL_SAVE_NEW ? SaveNew(name, request) : AddPage(name, request);
}

/** The checks that all saves share. */
int32_t CheckSave(const WCHAR* name, int32_t format, int32_t mode, int32_t compression,
                  const FilSaveOptions* options, const Codec*& codec, SaveSettings& settings) noexcept
{
    if (!name || !AreOptionsValid(options) || (mode != FIL_SAVE_NEW && mode != FIL_SAVE_ADD_PAGE) ||
        compression < FIL_COMPRESSION_NONE || compression > FIL_COMPRESSION_DEFAULT)
        return FIL_ERR_INVALID_ARGUMENT;
    codec = CodecOfFormat(format);
    if (!codec || !HasCompression(*codec, compression))
        return FIL_ERR_UNSUPPORTED;
    settings.compression = compression;
    if (options && options->jpegQuality != 0)
        settings.jpegQuality = static_cast<int32_t>(options->jpegQuality);
    return FIL_SUCCESS;
}

}  // namespace

int32_t FilDefaultLoadOptions(FilLoadOptions* options, uint32_t size)
{
    if (!options || size != FIL_LOAD_OPTIONS_SIZE)
        return FIL_ERR_INVALID_ARGUMENT;
    *options = FilLoadOptions{};
    options->structSize = FIL_LOAD_OPTIONS_SIZE;
    options->page = 1;
    return FIL_SUCCESS;
}

int32_t FilInfo(const WCHAR* fileName, FilFileInfo* info, uint32_t infoSize, uint32_t flags,
                const FilLoadOptions* options)
{
    if (!fileName || !info || infoSize != FIL_INFO_SIZE || !AreOptionsValid(options))
        return FIL_ERR_INVALID_ARGUMENT;
    // What looks damaged may only be an update under way.
    for (const bool locked : {false, true}) {
        File file;
        int32_t status =
            locked ? file.OpenLocked(fileName, File::Mode::Read) : file.Open(fileName, File::Mode::Read);
        if (status != FIL_SUCCESS)
            return status;
        FileSource source{file};
        status = Inform(source, fileName, PageOf(options), (flags & FIL_INFO_COUNT_PAGES) != 0, *info);
        if (status != FIL_ERR_CORRUPT)
            return status;
    }
    return FIL_ERR_CORRUPT;
}

int32_t FilLoad(const WCHAR* fileName, BitmapHandle* bitmap, uint32_t bitmapSize, uint32_t bitsPerPixel,
                uint32_t colorOrder, const FilLoadOptions* options, FilFileInfo* info)
{
    if (const int32_t status = PrepareLoad(fileName, bitmap, bitmapSize, colorOrder, options);
        status != FIL_SUCCESS)
        return status;
    File file;
    if (const int32_t status = file.Open(fileName, File::Mode::Read); status != FIL_SUCCESS)
        return status;
    FileSource source{file};
    return LoadFrom(source, fileName, {*bitmap, bitsPerPixel, PageOf(options), info});
}

int32_t FilLoadMemory(const void* buffer, BitmapHandle* bitmap, uint32_t bitmapSize, uint32_t bitsPerPixel,
                      uint32_t colorOrder, int32_t size, const FilLoadOptions* options, FilFileInfo* info)
{
    if (const int32_t status = PrepareLoad(buffer, bitmap, bitmapSize, colorOrder, options);
        status != FIL_SUCCESS)
        return status;
    if (size < 0)
        return FIL_ERR_INVALID_ARGUMENT;
    MemorySource source{buffer, static_cast<uint64_t>(size)};
    return LoadFrom(source, nullptr, {*bitmap, bitsPerPixel, PageOf(options), info});
}

int32_t FilSave(const WCHAR* fileName, const BitmapHandle* bitmap, int32_t format, uint32_t bitsPerPixel,
                int32_t mode, int32_t compression, const FilSaveOptions* options, void*, void*)
{
    if (!bitmap || !IsWholeBitmap(*bitmap))
        return FIL_ERR_INVALID_ARGUMENT;
    PageRows rows{*bitmap};
    const Codec* codec = nullptr;
    SaveSettings settings;
    const int32_t status = CheckSave(fileName, format, mode, compression, options, codec, settings);
    if (status != FIL_SUCCESS)
        return status;
    if (bitsPerPixel != 0 && bitsPerPixel != bitmap->bitsPerPixel)
        return FIL_ERR_UNSUPPORTED;
    return Save(fileName, mode, {*codec, &rows, nullptr, settings});
}

int32_t FilSaveFile(const WCHAR* fileName, const WCHAR* source, int32_t format, int32_t mode,
                    int32_t compression, const FilSaveOptions* options)
{
    const Codec* codec = nullptr;
    SaveSettings settings;
    int32_t status = source ? CheckSave(fileName, format, mode, compression, options, codec, settings)
                            : FIL_ERR_INVALID_ARGUMENT;
    File file;
    if (status == FIL_SUCCESS)
        status = file.Open(source, File::Mode::Read);
    if (status != FIL_SUCCESS)
        return status;
    FileSource content{file};
    const Codec* const present = CodecOfContent(content);
    if (!present)
        return FIL_ERR_UNKNOWN_FORMAT;
    const bool asItIs = present->Format() == FIL_FORMAT_JPEG &&
                        (compression == FIL_COMPRESSION_DEFAULT || compression == FIL_COMPRESSION_JPEG);
    if (asItIs && !(options && options->jpegQuality != 0)) {
        status = Save(fileName, mode, {*codec, nullptr, &content, settings});
        if (status != FIL_ERR_UNSUPPORTED)
            return status;
    }
    uint32_t count = 0;
    status = present->CountPages(content, count);
    for (uint32_t number = 1; status == FIL_SUCCESS && number <= count; ++number) {
        SourcePage page;
        status = page.Open(content, *present, number);
        if (status == FIL_SUCCESS)
            status = Save(fileName, number == 1 ? mode : FIL_SAVE_ADD_PAGE,
                          {*codec, &page.Rows(), nullptr, settings});
    }
    return status;
}

int32_t FilMoveFile(const WCHAR* from, const WCHAR* to, int32_t mode)
{
    if (!from || !to || (mode != FIL_SAVE_NEW && mode != FIL_SAVE_REPLACE))
        return FIL_ERR_INVALID_ARGUMENT;
    return mode == FIL_SAVE_NEW ? File::Rename(from, to) : File::Replace(from, to);
}

int32_t FilFormatFromName(const WCHAR* fileName)
{
    const Codec* const codec = fileName ? CodecOfName(fileName) : nullptr;
    return codec ? codec->Format() : FIL_FORMAT_UNKNOWN;
}
