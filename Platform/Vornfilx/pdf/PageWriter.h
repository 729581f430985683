/**
 * @file pdf/PageWriter.h
 * Adds a page to a PDF file.
 */
#pragma once

#include <string>
#include <vector>

#include "pdf/Document.h"

namespace vorn::fil::pdf {

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
        uint32_t object, generation;
        uint64_t offset;
    };

    uint32_t PageCount() const noexcept { return document_.pageCount + 1; }
    bool IsNew() const noexcept { return document_.tableAt == 0; }
    void Open(uint32_t object, uint32_t generation = 0);
    void Close() { text_ += "endobj\n"; }
    void Start();
    void AddTree();
    void AddTable();
    void AddStreamTable();
    int32_t Flush();

    FileUpdate& update_;
    const Document document_;
    Picture picture_;
    std::string text_;  ///< not yet written
    std::vector<Entry> entries_;
    uint64_t dataAt_ = 0, tableAt_ = 0;
};

}  // namespace vorn::fil::pdf
