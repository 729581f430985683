/**
 * @file pdf/Document.h
 * The structure of the PDF files that this library writes: which object has which number, where the file's tables are,
 * and how a page is added.
 *
 *     header | objects of page 1 | table, trailer, end | objects of page 2 | table, trailer, end | ...
 *
 * Each page adds an update in the sense of the format: its own objects, the nodes of the page tree that change, a table
 * of just these, and a trailer that names the table before. Nothing old is changed, so that adding the last of a
 * thousand pages costs what adding the second did. Pages hang in groups on the tree's root, so that no node grows with
 * the file.
 *
 *     1 catalog   2 root of the pages   3 information   then group by group: its node, then for each of its pages
 *     the page, its picture, the picture's length, what is drawn
 *
 * Pages are added to another program's file in the same manner: the numbers begin behind those of its objects, and its
 * tree of pages hangs on our root in front of our groups. Where its table is a stream, ours are streams too, and have
 * the number of the information, which stays its own.
 */
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "Codec.h"
#include "pdf/BaseRevision.h"

namespace vorn::fil::pdf {

constexpr uint32_t kGroupPages = 64;  // of a group
constexpr uint32_t kPageObjects = 4;  // page, picture, its length, what is drawn
constexpr uint32_t kMostPages = 1000000, kMostObjects = 8000000;

/** The file's last bytes: "startxref", a number of ten places, "%%EOF". */
constexpr std::string_view kEndStart = "startxref\n", kEndStop = "\n%%EOF\n";
constexpr size_t kEndDigits = 10, kEndBytes = kEndStart.size() + kEndDigits + kEndStop.size();
constexpr uint64_t kMostOffset = 9999999999;

/** How tables begin, and trailers; a stream's entry has a kind, an offset of eight bytes, and a generation of two. */
constexpr std::string_view kTable = "xref\n", kTrailer = "trailer\n<< ";
constexpr std::string_view kStreamTable = " 0 obj\n<< /Type /XRef /W [1 8 2] /Index [";
constexpr uint32_t kStreamEntry = 11;

/** What a file says of itself at its end. */
struct Document {
    uint32_t pageCount = 0;  ///< of ours
    uint64_t tableAt = 0;    ///< where the newest table begins
    uint64_t previous = 0;   ///< where the table before it begins; 0: there is none
    uint32_t firstObject = 1;
    bool streams = false;  ///< the tables are streams
    BaseRevision before;

    bool HasBefore() const noexcept { return before.pages != 0; }
    uint32_t Catalog() const noexcept { return firstObject; }
    uint32_t Root() const noexcept { return firstObject + 1; }
    uint32_t Information() const noexcept { return firstObject + 2; }
    /** The node of a page of ours, pages counted from 0. */
    uint32_t Group(uint32_t page) const noexcept
    {
        return firstObject + 3 + page / kGroupPages * (1 + kGroupPages * kPageObjects);
    }
    /** Its first object. */
    uint32_t Page(uint32_t page) const noexcept
    {
        return Group(page) + 1 + page % kGroupPages * kPageObjects;
    }
};

/** Text of at most 159 characters. */
[[gnu::format(printf, 1, 2)]] std::string Print(const char* format, ...);
/** A length in points; the application's locale has no say in it. */
std::string Points(double length);
/** The end of a file, kEndBytes. */
std::string EndOf(uint64_t tableAt);
/** The entries of the trailer with `pageCount` pages of ours. `previous`: the table before; 0: there is none. */
std::string TrailerOf(const Document& document, uint32_t pageCount, uint64_t previous);

/**
 * Reads the end of a file.
 * @return FIL_ERR_UNSUPPORTED for a file whose last page is not ours; FIL_ERR_CORRUPT for one whose tables are damaged
 */
int32_t ReadDocument(ByteSource& source, Document& document) noexcept;

/** Reads what the objects of a page of ours tell of its picture. `page` counts from 1 and is there. */
int32_t ReadPage(ByteSource& source, Document document, uint32_t page, PageInfo& info) noexcept;

}  // namespace vorn::fil::pdf
