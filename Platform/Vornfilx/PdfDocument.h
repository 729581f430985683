/**
 * @file PdfDocument.h
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
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Codec.h"

namespace vorn::fil::pdf {

/** What a file says of itself at its end. */
struct Document {
    uint32_t pageCount = 0;
    uint64_t tableAt = 0;   ///< where the newest table begins
    uint64_t previous = 0;  ///< where the table before it begins; 0: there is none
};

/**
 * Reads the end of a file.
 * @return FIL_ERR_UNSUPPORTED for a file that this library did not write, or that others changed since; FIL_ERR_CORRUPT
 *         for one whose tables are damaged
 */
int32_t ReadDocument(ByteSource& source, Document& document) noexcept;

/** Reads what a page's objects tell of its picture. `page` counts from 1 and is there. */
int32_t ReadPage(ByteSource& source, Document document, uint32_t page, PageInfo& info) noexcept;

/** The picture of a page, without its data. */
struct Picture {
    uint32_t width = 0, height = 0;        ///< pixels
    double pageWidth = 0, pageHeight = 0;  ///< points
    std::string entries;                   ///< of its dictionary, besides size and length
};

/** Writes one page to a file: Begin, the picture's data through the update, Finish. May throw std::bad_alloc. */
class PageWriter {
public:
    PageWriter(FileUpdate& update, const Document& document) : update_{update}, document_{document} {}

    /** Everything up to the picture's data. */
    int32_t Begin(const Picture& picture);
    /** The picture's data is written: everything behind it. */
    int32_t Finish();

private:
    struct Entry {
        uint32_t object;
        uint64_t offset;
    };

    uint32_t PageCount() const noexcept { return document_.pageCount + 1; }
    bool IsNew() const noexcept { return document_.pageCount == 0; }
    void Open(uint32_t object);
    void Close() { text_ += "endobj\n"; }
    void AddTree();
    void AddTable();
    void AddTrailer();
    int32_t Flush();

    FileUpdate& update_;
    const Document document_;
    Picture picture_;
    std::string text_;  ///< not yet written
    std::vector<Entry> entries_;
    uint64_t dataAt_ = 0, tableAt_ = 0;
};

}  // namespace vorn::fil::pdf
