/*
 * What adding pages to PDF files comes without on a system that has neither libtiff nor libqpdf: Group 4 data, and
 * the files of other programs.
 */
#include "PdfForeign.h"
#include "PdfPicture.h"

namespace vorn::fil::pdf {

bool HasFaxData() noexcept
{
    return false;
}

int32_t WriteFaxData(FileUpdate&, PageRows&)
{
    return FIL_ERR_UNSUPPORTED;
}

int32_t ReadForeign(ByteSource&, Document&) noexcept
{
    return FIL_ERR_UNSUPPORTED;
}

int32_t ReadForeignPage(ByteSource&, uint32_t, PageInfo&) noexcept
{
    return FIL_ERR_UNSUPPORTED;
}

}  // namespace vorn::fil::pdf
