// Reads the structure of PDF files by libqpdf, which is strict here: what it would have to mend is refused, because
// pages are added to a file only behind what is sound.
#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>

#include "pdf/BaseRevision.h"

namespace vorn::fil::pdf {
namespace {

/** The file as libqpdf wants to see it. */
class Input final : public InputSource {
public:
    explicit Input(ByteSource& source) : source_{source} {}

    int32_t Status() const noexcept { return status_; }

    std::string const& getName() const override { return name_; }
    qpdf_offset_t tell() override { return static_cast<qpdf_offset_t>(position_); }
    void rewind() override { position_ = 0; }
    void unreadCh(char) override { --position_; }

    void seek(qpdf_offset_t offset, int whence) override
    {
        const uint64_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position_ : source_.Size();
        position_ = from + static_cast<uint64_t>(offset);
    }

    size_t read(char* to, size_t length) override
    {
        setLastOffset(tell());
        size_t done = 0;
        while (done < length && FillWindow()) {
            const size_t at = static_cast<size_t>(position_ - windowAt_);
            const size_t count = std::min(length - done, windowCount_ - at);
            std::copy_n(window_.begin() + at, count, to + done);
            position_ += count;
            done += count;
        }
        return done;
    }

    qpdf_offset_t findAndSkipNextEOL() override
    {
        const auto endsLine = [this] {
            const char byte = window_[static_cast<size_t>(position_ - windowAt_)];
            return byte == '\r' || byte == '\n';
        };
        while (FillWindow() && !endsLine())
            ++position_;
        const qpdf_offset_t found = tell();
        while (FillWindow() && endsLine())
            ++position_;
        return found;
    }

private:
    /** Has the byte at the position in the window; false at the end of the file. */
    bool FillWindow()
    {
        if (position_ >= windowAt_ && position_ - windowAt_ < windowCount_)
            return true;
        const uint64_t size = source_.Size();
        windowCount_ =
            static_cast<size_t>(std::min<uint64_t>(window_.size(), size - std::min(position_, size)));
        windowAt_ = position_;
        if (windowCount_ > 0)
            status_ = source_.ReadAt(windowAt_, window_.data(), windowCount_);
        if (status_ != FIL_SUCCESS)
            windowCount_ = 0;
        return windowCount_ > 0;
    }

    ByteSource& source_;
    const std::string name_ = "file";
    int32_t status_ = FIL_SUCCESS;
    uint64_t position_ = 0, windowAt_ = 0;
    size_t windowCount_ = 0;
    std::array<char, 16384> window_;
};

/** The entries of a dictionary but for one, which the caller writes anew: " /Type /Catalog ...". */
std::string EntriesWithout(const char* key, QPDFObjectHandle dictionary)
{
    QPDFObjectHandle copy = dictionary.shallowCopy();
    copy.removeKey(key);
    std::string text = copy.unparse();
    return text.substr(2, text.rfind(">>") - 2);
}

/** What a trailer may tell besides where things are, as far as it has the usual size. */
std::string TrailerEntries(QPDFObjectHandle trailer)
{
    constexpr size_t kMostBytes = 32;
    std::string text;
    if (QPDFObjectHandle information = trailer.getKey("/Info"); information.isIndirect())
        text += " /Info " + information.unparse();
    QPDFObjectHandle ids = trailer.getKey("/ID");
    if (!ids.isArray() || ids.getArrayNItems() != 2)
        return text;
    std::string both;
    for (int i = 0; i < 2; ++i) {
        QPDFObjectHandle id = ids.getArrayItem(i);
        if (!id.isString() || id.getStringValue().size() > kMostBytes)
            return text;
        both += QPDFObjectHandle::newString(id.getStringValue()).unparseBinary();
    }
    return text + " /ID [" + both + "]";
}

int32_t Describe(QPDF& pdf, BaseRevision& before)
{
    QPDFObjectHandle catalog = pdf.getRoot(), tree = catalog.getKey("/Pages");
    if (!tree.isIndirect() || !tree.isDictionary())
        return FIL_ERR_CORRUPT;
    before.pages = static_cast<uint32_t>(tree.getObjectID());
    before.generation = static_cast<uint32_t>(tree.getGeneration());
    before.catalog = EntriesWithout("/Pages", catalog);
    before.tree = EntriesWithout("/Parent", tree);
    before.trailer = TrailerEntries(pdf.getTrailer());
    const uint64_t size =
        static_cast<uint64_t>(std::max<long long>(pdf.getTrailer().getKey("/Size").getIntValue(), 0));
    before.nextObject = std::max<uint64_t>(size, pdf.getObjectCount() + 1);
    before.pageCount = static_cast<uint32_t>(pdf.getAllPages().size());
    return FIL_SUCCESS;
}

int32_t DescribePage(QPDF& pdf, uint32_t page, PageArea& area)
{
    const auto& pages = pdf.getAllPages();
    if (page > pages.size())
        return FIL_ERR_NO_SUCH_PAGE;
    QPDFObjectHandle box = QPDFPageObjectHelper{pages[page - 1]}.getMediaBox();
    if (!box.isRectangle())
        return FIL_ERR_CORRUPT;
    constexpr double kLongest = 1e9;
    const auto corners = box.getArrayAsRectangle();
    area.width = static_cast<uint32_t>(std::clamp(corners.urx - corners.llx, 0.0, kLongest));
    area.height = static_cast<uint32_t>(std::clamp(corners.ury - corners.lly, 0.0, kLongest));
    return FIL_SUCCESS;
}

int32_t Read(const std::shared_ptr<Input>& input, BaseRevision* before, uint32_t page, PageArea& area)
try {
    QPDF pdf;
    pdf.setSuppressWarnings(true);
    pdf.setAttemptRecovery(false);
    pdf.processInputSource(input);
    if (pdf.isEncrypted())
        return FIL_ERR_UNSUPPORTED;
    const int32_t status = before ? Describe(pdf, *before) : DescribePage(pdf, page, area);
    return status == FIL_SUCCESS && pdf.anyWarnings() ? FIL_ERR_CORRUPT : status;
} catch (const QPDFExc& error) {
    const bool known = error.getErrorCode() == qpdf_e_password || error.getErrorCode() == qpdf_e_unsupported;
    return known ? FIL_ERR_UNSUPPORTED : FIL_ERR_CORRUPT;
}

}  // namespace

[[gnu::visibility("default")]] int32_t VornReadExternalPdf(ByteSource& source, BaseRevision* before,
                                                           uint32_t page, PageArea& area)
try {
    const auto input = std::make_shared<Input>(source);
    const int32_t status = Read(input, before, page, area);
    return input->Status() != FIL_SUCCESS ? input->Status() : status;
} catch (const std::bad_alloc&) {
    return FIL_ERR_OUT_OF_MEMORY;
} catch (const std::exception&) {
    return FIL_ERR_CORRUPT;
}

}  // namespace vorn::fil::pdf
