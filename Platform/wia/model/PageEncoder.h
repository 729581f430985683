/**
 * @file PageEncoder.h
 * Turns a page into the bytes of a transfer format while it is scanned, without ever holding the page.
 */
#pragma once

#include <cstdint>
#include <memory>

#include "../Export.h"
#include "Page.h"

namespace vorn::wia {

/** That of JPEG data unless told otherwise. */
constexpr LONG kJpegQuality = 90;

/** Takes the bytes of an encoded page. Any result but `S_OK`, `S_FALSE` included, ends the page there. */
class PageSink {
public:
    virtual ~PageSink() = default;

    /** The total of a page whose format compresses it. */
    static constexpr uint64_t kUnknownBytes = UINT64_MAX;

    /**
     * Called once, before the first write.
     * @param totalBytes   bytes of the encoded page; for a further page of a document the bytes it adds;
     *                     `kUnknownBytes` when only its end will tell
     * @param headerBytes  bytes of the first write: everything that precedes the pixels
     */
    virtual HRESULT Begin(uint64_t totalBytes, uint32_t headerBytes) = 0;

    /**
     * Called with the header first, then with the pixels. Chunks need not arrive in rising order.
     * @param offset   from the start of the encoded page or document
     * @param percent  of the page that is done with this write, 0 to 100
     */
    virtual HRESULT Write(uint64_t offset, const uint8_t* data, uint32_t size, uint32_t percent) = 0;
};

/** Encodes pages in one format. Holds nothing of a page between two of them. */
class PageEncoder {
public:
    virtual ~PageEncoder() = default;

    /**
     * Bytes of a page of that geometry once it is encoded, those of its pixels where the format compresses them;
     * 0 when the format cannot hold such a page.
     */
    virtual uint64_t EncodedBytes(const PageGeometry& geometry) const noexcept = 0;

    /**
     * Reads the page to its end and gives its encoded form to the sink, pixels in chunks of whole rows of at
     * most `chunkBytes`; a row that is longer goes in pieces.
     * @return `S_OK`; what the sink answered, or the page, when that is not `S_OK`; `E_INVALIDARG`, with the
     *         sink untouched, for a page that the format cannot hold or `chunkBytes` of 0; `E_OUTOFMEMORY`.
     */
    virtual HRESULT Encode(Page& page, PageSink& sink, uint32_t chunkBytes) = 0;
};

/**
 * The encoder of `WiaImgFmt_MEMORYBMP`, `WiaImgFmt_BMP` or `WiaImgFmt_TIFF`, and of `WiaImgFmt_JPEG` and
 * `WiaImgFmt_PNG` where there are codecs for them; null for another format. Each page is a file of its own.
 * @param jpegQuality  1 to 100, for JPEG
 */
VORN_WIA_API std::unique_ptr<PageEncoder> MakePageEncoder(REFGUID format, LONG jpegQuality = kJpegQuality);

/**
 * An encoder whose pages follow each other in one document, at offsets that count from the document's start.
 * A page that fails leaves the pages before it readable, and the next one takes its place. Null for a format
 * that holds a single page.
 */
VORN_WIA_API std::unique_ptr<PageEncoder> MakeDocumentEncoder(REFGUID format);

}  // namespace vorn::wia
