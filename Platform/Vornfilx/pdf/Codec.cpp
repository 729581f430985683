/*
 * PDF, one picture a page: written and added to, not read.
 */
#include <new>

#include "pdf/External.h"
#include "pdf/Picture.h"

namespace vorn::fil {
namespace {

constexpr const char* kExtensions[] = {"pdf"};
constexpr int32_t kCompressions[] = {FIL_COMPRESSION_DEFLATE, FIL_COMPRESSION_JPEG, FIL_COMPRESSION_GROUP4};

class PdfCodec final : public Codec {
public:
    int32_t Format() const noexcept override { return FIL_FORMAT_PDF; }
    std::span<const char* const> Extensions() const noexcept override { return kExtensions; }
    std::span<const int32_t> Compressions() const noexcept override { return kCompressions; }
    bool Recognizes(std::span<const uint8_t> start) const noexcept override
    {
        constexpr uint8_t kStart[] = {'%', 'P', 'D', 'F', '-'};
        return start.size() >= std::size(kStart) &&
               std::equal(std::begin(kStart), std::end(kStart), start.begin());
    }

    int32_t CountPages(ByteSource& source, uint32_t& count) const noexcept override
    {
        pdf::Document document;
        const int32_t status = Read(source, document);
        if (status == FIL_SUCCESS)
            count = document.before.pageCount + document.pageCount;
        return status;
    }
    int32_t ReadInfo(ByteSource& source, uint32_t page, PageInfo& info) const noexcept override
    {
        pdf::Document document;
        if (const int32_t status = Read(source, document); status != FIL_SUCCESS)
            return status;
        const uint32_t before = document.before.pageCount;
        if (page <= before)
            return pdf::ReadExternalPage(source, page, info);
        return page - before > document.pageCount ? FIL_ERR_NO_SUCH_PAGE
                                                  : pdf::ReadPage(source, document, page - before, info);
    }
    int32_t Load(ByteSource&, uint32_t, BitmapHandle&) const noexcept override { return FIL_ERR_UNSUPPORTED; }
    int32_t WritePage(FileUpdate& file, PageRows& bitmap,
                      const SaveSettings& settings) const noexcept override;
    int32_t WriteEncoded(FileUpdate& file, ByteSource& picture) const noexcept override;

private:
    static int32_t Read(ByteSource& source, pdf::Document& document) noexcept
    {
        const int32_t status = pdf::ReadDocument(source, document);
        return status == FIL_ERR_UNSUPPORTED ? pdf::ReadExternal(source, document) : status;
    }
};

int32_t PdfCodec::WritePage(FileUpdate& file, PageRows& bitmap, const SaveSettings& settings) const noexcept
try {
    pdf::Document document;
    pdf::Encoding encoding{};
    int32_t status = file.OldSize() > 0 ? Read(file, document) : FIL_SUCCESS;
    if (status == FIL_SUCCESS)
        status = pdf::ChooseEncoding(bitmap, settings.compression, encoding);
    if (status != FIL_SUCCESS)
        return status;
    pdf::PageWriter page{file, document};
    status = page.Begin(pdf::Describe(bitmap, encoding));
    if (status == FIL_SUCCESS)
        status = pdf::WriteData(file, bitmap, encoding, settings.jpegQuality);
    return status == FIL_SUCCESS ? page.Finish() : status;
} catch (const std::bad_alloc&) {
    return FIL_ERR_OUT_OF_MEMORY;
}

int32_t PdfCodec::WriteEncoded(FileUpdate& file, ByteSource& picture) const noexcept
try {
    pdf::Document document;
    jpeg::Header header;
    int32_t status = pdf::ReadWholeJpeg(picture, header);
    if (status == FIL_SUCCESS && file.OldSize() > 0)
        status = Read(file, document);
    if (status != FIL_SUCCESS)
        return status;
    pdf::PageWriter page{file, document};
    status = page.Begin(pdf::Describe(header));
    if (status == FIL_SUCCESS)
        status = pdf::CopyData(file, picture);
    return status == FIL_SUCCESS ? page.Finish() : status;
} catch (const std::bad_alloc&) {
    return FIL_ERR_OUT_OF_MEMORY;
}

const PdfCodec kCodec;

}  // namespace

const Codec& pdfCodec = kCodec;

}  // namespace vorn::fil
