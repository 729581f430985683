#include "PdfDocument.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "Software.h"

namespace vorn::fil::pdf {
namespace {

constexpr uint32_t kCatalog = 1, kPages = 2, kInformation = 3, kFirstGroup = 4;
constexpr uint32_t kGroupPages = 64;  // of a group
constexpr uint32_t kPageObjects = 4;  // page, picture, its length, what is drawn
constexpr uint32_t kMostPages = 1000000;

/** The file's last bytes: "startxref", a number of ten places, "%%EOF". */
constexpr std::string_view kEndStart = "startxref\n", kEndStop = "\n%%EOF\n";
constexpr size_t kEndDigits = 10, kEndBytes = kEndStart.size() + kEndDigits + kEndStop.size();
constexpr uint64_t kMostOffset = 9999999999;

uint32_t GroupOf(uint32_t page) noexcept
{
    constexpr uint32_t kGroupObjects = 1 + kGroupPages * kPageObjects;
    return kFirstGroup + page / kGroupPages * kGroupObjects;
}

/** The first object of a page, pages counted from 0. */
uint32_t PageOf(uint32_t page) noexcept
{
    return GroupOf(page) + 1 + page % kGroupPages * kPageObjects;
}

[[gnu::format(printf, 1, 2)]] std::string Print(const char* format, ...)
{
    char text[160];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    return text;
}

/** A length in points; the application's locale has no say in it. */
std::string Points(double length)
{
    char text[64];
    return {text, std::to_chars(text, std::end(text), length, std::chars_format::fixed, 4).ptr};
}

std::string EndOf(uint64_t tableAt)
{
    return std::string{kEndStart} +
           Print("%*llu", static_cast<int>(kEndDigits), static_cast<unsigned long long>(tableAt)) +
           std::string{kEndStop};
}

/** The trailer of a file of `pageCount` pages whose table before this one is at `previous`; 0: there is none. */
std::string TrailerOf(uint32_t pageCount, uint64_t previous)
{
    std::string text = Print("trailer\n<< /Size %u /Root %u 0 R /Info %u 0 R /VornwiaPages %u",
                             PageOf(pageCount - 1) + kPageObjects, kCatalog, kInformation, pageCount);
    if (previous > 0)
        text += Print(" /Prev %llu", static_cast<unsigned long long>(previous));
    return text + " >>\n";
}

/** Reads as much as there is, up to the size of the buffer. */
int32_t ReadText(ByteSource& source, uint64_t offset, std::string& text)
{
    constexpr uint64_t kMost = 1024;
    text.assign(static_cast<size_t>(std::min(kMost, source.Size() - offset)), 0);
    return source.ReadAt(offset, text.data(), text.size());
}

/** Reads the table's offset from the end; false when the end is not of our making. */
bool ParseEnd(const std::string& end, uint64_t& tableAt)
{
    unsigned long long number = 0;
    if (std::sscanf(end.c_str(), "startxref\n%llu", &number) != 1 || end != EndOf(number))
        return false;
    tableAt = number;
    return true;
}

/** Reads the trailer that follows a table; false when it is not of our making. */
bool ParseTrailer(const std::string& text, Document& document)
{
    uint32_t& pageCount = document.pageCount;
    const size_t start = text.find("trailer\n");
    if (text.compare(0, 5, "xref\n") != 0 || start == text.npos)
        return false;
    unsigned size = 0, root = 0, information = 0;
    unsigned long long previous = 0;
    const int found = std::sscanf(
        text.c_str() + start, "trailer\n<< /Size %u /Root %u 0 R /Info %u 0 R /VornwiaPages %u /Prev %llu",
        &size, &root, &information, &pageCount, &previous);
    if (found < 4 || pageCount == 0 || pageCount > kMostPages)
        return false;
    document.previous = previous;
    const std::string expected = TrailerOf(pageCount, previous);
    return text.compare(start, expected.size(), expected) == 0;
}

/** Reads the table that the document names, and its trailer. */
int32_t ReadTable(ByteSource& source, Document& document, std::string& table)
{
    if (document.tableAt >= source.Size())
        return FIL_ERR_CORRUPT;
    if (const int32_t status = ReadText(source, document.tableAt, table); status != FIL_SUCCESS)
        return status;
    return ParseTrailer(table, document) ? FIL_SUCCESS : FIL_ERR_UNSUPPORTED;
}

/** Where a table says that an object begins; 0 when it does not list it. */
uint64_t FindObject(const std::string& table, uint32_t object)
{
    const char* at = table.c_str() + std::string_view{"xref\n"}.size();
    unsigned first = 0, count = 0;
    int length = 0;
    while (std::sscanf(at, "%u %u\n%n", &first, &count, &length) == 2) {
        at += length;
        for (unsigned i = 0; i < count; ++i) {
            unsigned long long offset = 0;
            if (std::sscanf(at, "%10llu %*5u %*c %n", &offset, &length) != 1)
                return 0;
            at += length;
            if (first + i == object)
                return offset;
        }
    }
    return 0;
}

/** Reads a page's object and its picture's: "[0 0 595.2 842] ... /Width 1240 /Height 1754 ...". */
int32_t ReadObject(ByteSource& source, const std::string& table, uint32_t object, std::string& text)
{
    const uint64_t offset = FindObject(table, object);
    if (offset == 0 || offset >= source.Size())
        return FIL_ERR_CORRUPT;
    const int32_t status = ReadText(source, offset, text);
    const std::string start = Print("%u 0 obj\n", object);
    return status != FIL_SUCCESS || text.compare(0, start.size(), start) == 0 ? status : FIL_ERR_CORRUPT;
}

/** The number that follows a word; 0 when there is none. */
double NumberAfter(const std::string& text, std::string_view word)
{
    const size_t at = text.find(word);
    double number = 0;
    if (at != text.npos)
        std::from_chars(text.data() + at + word.size(), text.data() + text.size(), number);
    return number;
}

/** Dots an inch, to the hundredth: the page's size has no more. */
double Dpi(uint32_t pixels, double points)
{
    return points > 0 ? std::round(pixels * 7200 / points) / 100 : 0;
}

}  // namespace

int32_t ReadPage(ByteSource& source, Document document, uint32_t page, PageInfo& info) noexcept
try {
    std::string table, text;
    int32_t status = ReadTable(source, document, table);
    // Each table before is that of a page less, and lies nearer to the start.
    while (status == FIL_SUCCESS && document.pageCount > page) {
        Document before;
        before.tableAt = document.previous;
        if (before.tableAt == 0 || before.tableAt >= document.tableAt)
            return FIL_ERR_CORRUPT;
        status = ReadTable(source, before, table);
        if (status == FIL_SUCCESS && before.pageCount + 1 != document.pageCount)
            return FIL_ERR_CORRUPT;
        document = before;
    }
    if (status == FIL_SUCCESS)
        status = ReadObject(source, table, PageOf(page - 1), text);
    if (status != FIL_SUCCESS)
        return status;
    const double pageWidth = NumberAfter(text, "/MediaBox [0 0 ");
    const double pageHeight = NumberAfter(text, "/MediaBox [0 0 " + Points(pageWidth) + " ");
    status = ReadObject(source, table, PageOf(page - 1) + 1, text);
    if (status != FIL_SUCCESS)
        return status;
    const double width = NumberAfter(text, "/Width "), height = NumberAfter(text, "/Height ");
    if (!(width >= 1 && width <= UINT32_MAX && height >= 1 && height <= UINT32_MAX))
        return FIL_ERR_CORRUPT;
    info.width = static_cast<uint32_t>(width);
    info.height = static_cast<uint32_t>(height);
    info.xDpi = Dpi(info.width, pageWidth);
    info.yDpi = Dpi(info.height, pageHeight);
    const bool color = text.find("/ColorSpace /DeviceRGB") != text.npos;
    const double bits = NumberAfter(text, "/BitsPerComponent ");
    info.bitsPerPixel = color ? 24 : bits >= 1 && bits <= 8 ? static_cast<uint32_t>(bits) : 0;
    info.storedBits = info.bitsPerPixel;
    return FIL_SUCCESS;
} catch (const std::bad_alloc&) {
    return FIL_ERR_OUT_OF_MEMORY;
}

int32_t ReadDocument(ByteSource& source, Document& document) noexcept
try {
    if (source.Size() < kEndBytes)
        return FIL_ERR_CORRUPT;
    std::string text;
    int32_t status = ReadText(source, source.Size() - kEndBytes, text);
    if (status != FIL_SUCCESS)
        return status;
    if (!ParseEnd(text, document.tableAt))
        return FIL_ERR_UNSUPPORTED;
    return ReadTable(source, document, text);
} catch (const std::bad_alloc&) {
    return FIL_ERR_OUT_OF_MEMORY;
}

void PageWriter::Open(uint32_t object)
{
    entries_.push_back({object, update_.Size() + text_.size()});
    text_ += Print("%u 0 obj\n", object);
}

int32_t PageWriter::Flush()
{
    const int32_t status = update_.WriteAt(update_.Size(), text_.data(), text_.size());
    text_.clear();
    return status;
}

int32_t PageWriter::Begin(const Picture& picture)
{
    picture_ = picture;
    if (document_.pageCount >= kMostPages)
        return FIL_ERR_TOO_LARGE;
    if (!IsNew())
        if (const int32_t status = update_.KeepEnd(kEndBytes); status != FIL_SUCCESS)
            return status;
    const uint32_t page = PageOf(document_.pageCount);
    if (IsNew()) {
        text_ = "%PDF-1.5\n%\xE2\xE3\xCF\xD3\n";
        Open(kCatalog);
        text_ += Print("<< /Type /Catalog /Pages %u 0 R >>\n", kPages);
        Close();
        Open(kInformation);
        text_ += Print("<< /Producer (%s) >>\n", kSoftware);
        Close();
    }
    Open(page);
    text_ += Print("<< /Type /Page /Parent %u 0 R /MediaBox [0 0 ", GroupOf(document_.pageCount)) +
             Points(picture.pageWidth) + " " + Points(picture.pageHeight) + "]\n";
    text_ +=
        Print("/Resources << /XObject << /Picture %u 0 R >> >> /Contents %u 0 R >>\n", page + 1, page + 3);
    Close();
    Open(page + 1);
    text_ += Print("<< /Type /XObject /Subtype /Image /Width %u /Height %u /Length %u 0 R\n", picture.width,
                   picture.height, page + 2);
    text_ += picture.entries + " >>\nstream\n";
    const int32_t status = Flush();
    dataAt_ = update_.Size();
    return status;
}

/** The nodes of the tree that change with the page: its group, and the root. */
void PageWriter::AddTree()
{
    const uint32_t last = document_.pageCount;
    Open(GroupOf(last));
    const uint32_t first = last / kGroupPages * kGroupPages;
    text_ += Print("<< /Type /Pages /Parent %u 0 R /Count %u /Kids [", kPages, last - first + 1);
    for (uint32_t page = first; page <= last; ++page)
        text_ += Print("%u 0 R ", PageOf(page));
    text_ += "] >>\n";
    Close();
    Open(kPages);
    text_ += Print("<< /Type /Pages /Count %u /Kids [", PageCount());
    for (uint32_t page = 0; page <= last; page += kGroupPages)
        text_ += Print("%u 0 R ", GroupOf(page));
    text_ += "] >>\n";
    Close();
}

void PageWriter::AddTable()
{
    std::sort(entries_.begin(), entries_.end(),
              [](const Entry& left, const Entry& right) { return left.object < right.object; });
    tableAt_ = update_.Size() + text_.size();
    text_ += "xref\n";
    if (IsNew())
        text_ += "0 1\n0000000000 65535 f \n";
    for (auto run = entries_.begin(); run != entries_.end();) {
        auto end = run + 1;
        while (end != entries_.end() && end->object == (end - 1)->object + 1)
            ++end;
        text_ += Print("%u %u\n", run->object, static_cast<unsigned>(end - run));
        for (; run != end; ++run)
            text_ += Print("%010llu 00000 n \n", static_cast<unsigned long long>(run->offset));
    }
}

int32_t PageWriter::Finish()
{
    const uint32_t page = PageOf(document_.pageCount);
    const uint64_t length = update_.Size() - dataAt_;
    text_ = "\nendstream\n";
    Close();
    Open(page + 2);
    text_ += Print("%llu\n", static_cast<unsigned long long>(length));
    Close();
    Open(page + 3);
    const std::string drawn =
        "q " + Points(picture_.pageWidth) + " 0 0 " + Points(picture_.pageHeight) + " 0 0 cm /Picture Do Q";
    text_ +=
        Print("<< /Length %u >>\nstream\n", static_cast<unsigned>(drawn.size())) + drawn + "\nendstream\n";
    Close();
    AddTree();
    AddTable();
    if (tableAt_ > kMostOffset)
        return FIL_ERR_TOO_LARGE;
    text_ += TrailerOf(PageCount(), document_.tableAt);
    const std::string end = EndOf(tableAt_);
    if (IsNew()) {
        text_ += end;
        return Flush();
    }
    if (const int32_t status = Flush(); status != FIL_SUCCESS)
        return status;
    text_.assign(static_cast<size_t>(update_.Padding()), '\n');
    if (!text_.empty())
        if (const int32_t status = Flush(); status != FIL_SUCCESS)
            return status;
    return update_.PatchEnd(kEndStart.size(), end.data() + kEndStart.size(), kEndDigits);
}

}  // namespace vorn::fil::pdf
