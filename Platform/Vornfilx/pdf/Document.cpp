#include "pdf/Document.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <string_view>

namespace vorn::fil::pdf {
namespace {

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

/** Reads the trailer that follows a table, or is its dictionary; false when it is not of our making. */
bool ParseTrailer(const std::string& text, Document& document)
{
    const size_t start = text.find("/Size ");
    document.streams = text.find(kStreamTable) < start;
    const bool table = text.starts_with(kTable) && text.find(kTrailer) + kTrailer.size() == start;
    if (start == text.npos || (!document.streams && !table))
        return false;
    unsigned size = 0, information = 0;
    int length = 0;
    BaseRevision& before = document.before;
    if (std::sscanf(text.c_str() + start, "/Size %u /Root %u 0 R /Info %u 0 R /VornwiaPages %u%n", &size,
                    &document.firstObject, &information, &document.pageCount, &length) != 4 &&
        std::sscanf(text.c_str() + start,
                    "/Size %u /Root %u 0 R /VornwiaBefore [%u %u %u] /VornwiaPages %u%n", &size,
                    &document.firstObject, &before.pages, &before.generation, &before.pageCount,
                    &document.pageCount, &length) != 6)
        return false;
    const size_t rest = start + static_cast<size_t>(length), end = text.find(" >>\n", rest);
    const size_t previous = std::min(text.find(" /Prev ", rest), end);
    before.trailer = text.substr(rest, previous - rest);
    unsigned long long number = 0;
    std::sscanf(text.c_str() + std::min(previous, text.size()), " /Prev %llu", &number);
    document.previous = number;
    if (document.pageCount == 0 || document.pageCount > kMostPages || document.firstObject > kMostObjects ||
        (!document.HasBefore() && !before.trailer.empty()))
        return false;
    const std::string expected = TrailerOf(document, document.pageCount, document.previous) + " >>\n";
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
    const char* at = table.c_str() + kTable.size();
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

/** The same of a table that is a stream. */
uint64_t FindInStream(const std::string& table, uint32_t object)
{
    const char* at = table.c_str() + table.find(kStreamTable) + kStreamTable.size();
    uint64_t entry = table.find("stream\n") + std::string_view{"stream\n"}.size();
    unsigned first = 0, count = 0;
    for (int length = 0; std::sscanf(at, "%u %u%n", &first, &count, &length) == 2; at += length) {
        if (object < first || object - first >= count) {
            entry += uint64_t{count} * kStreamEntry;
            continue;
        }
        entry += uint64_t{object - first} * kStreamEntry;
        if (entry + kStreamEntry > table.size())
            return 0;
        uint64_t offset = 0;
        for (uint32_t i = 1; i <= 8; ++i)
            offset = offset << 8 | static_cast<uint8_t>(table[entry + i]);
        return offset;
    }
    return 0;
}

/** Reads a page's object and its picture's: "[0 0 595.2 842] ... /Width 1240 /Height 1754 ...". */
int32_t ReadObject(ByteSource& source, const Document& document, const std::string& table, uint32_t object,
                   std::string& text)
{
    const uint64_t offset = document.streams ? FindInStream(table, object) : FindObject(table, object);
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

std::string Print(const char* format, ...)
{
    char text[160];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    return text;
}

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

std::string TrailerOf(const Document& document, uint32_t pageCount, uint64_t previous)
{
    const BaseRevision& before = document.before;
    std::string text =
        Print("/Size %u /Root %u 0 R", document.Page(pageCount - 1) + kPageObjects, document.Catalog());
    text += document.HasBefore()
                ? Print(" /VornwiaBefore [%u %u %u]", before.pages, before.generation, before.pageCount)
                : Print(" /Info %u 0 R", document.Information());
    text += Print(" /VornwiaPages %u", pageCount) + before.trailer;
    return previous > 0 ? text + Print(" /Prev %llu", static_cast<unsigned long long>(previous)) : text;
}

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
        status = ReadObject(source, document, table, document.Page(page - 1), text);
    if (status != FIL_SUCCESS)
        return status;
    const double pageWidth = NumberAfter(text, "/MediaBox [0 0 ");
    const double pageHeight = NumberAfter(text, "/MediaBox [0 0 " + Points(pageWidth) + " ");
    status = ReadObject(source, document, table, document.Page(page - 1) + 1, text);
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

}  // namespace vorn::fil::pdf
