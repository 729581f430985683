/**
 * @file pdf/BaseRevision.h
 * What another program's PDF file tells whoever adds pages to it. libqpdf reads it, from older C++, which its headers
 * need.
 */
#pragma once

#include <string>

#include "io/ByteSource.h"

namespace vorn::fil::pdf {

/** What another program wrote in front of our pages. */
struct BaseRevision {
    uint32_t pageCount = 0;
    uint32_t pages = 0, generation = 0;  ///< root of its page tree; 0: there is nothing of others
    std::string trailer;                 ///< entries that stay in the trailer
    std::string catalog, tree;           ///< entries of catalog and root, as long as no page of ours is there
    uint64_t nextObject = 1;             ///< the lowest free number, as long as no page of ours is there
};

/** The size of a page in points. */
struct PageArea {
    uint32_t width = 0, height = 0;
};

/** Reads what all pages have in common, unless `before` is null; else the size of a page, counted from 1. */
extern "C" int32_t VornReadExternalPdf(ByteSource& source, BaseRevision* before, uint32_t page,
                                       PageArea& area);

}  // namespace vorn::fil::pdf
