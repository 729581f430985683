#include "Pages.h"

namespace vorn::wia {
namespace {

struct Kind {
    const char* name;
    CannedPage page;
};

std::vector<Kind> Kinds()
{
    const PaletteEntry black{0, 0, 0, 0}, white{255, 255, 255, 0};
    std::vector<Kind> kinds;
    for (const uint32_t width : {1u, 7u, 33u}) {
        kinds.push_back({"1 bit", Noise(width, 9, 1, {black, white})});
        kinds.push_back({"1 bit, white first", Noise(width, 9, 1, {white, black})});
        kinds.push_back({"1 bit in colour", Noise(width, 9, 1, ColorfulPalette(2))});
        kinds.push_back({"4 bits", Noise(width, 9, 4, ColorfulPalette(16))});
        kinds.push_back({"8 bits, no palette", Noise(width, 9, 8)});
        kinds.push_back({"8 bits in colour", Noise(width, 9, 8, ColorfulPalette(256))});
        kinds.push_back({"8 bits, short palette", Noise(width, 9, 8, ColorfulPalette(5))});
        kinds.push_back({"24 bits", Noise(width, 9, 24)});
    }
    kinds.push_back({"resolution not known", Noise(6, 5, 8)});
    kinds.back().page.geometry.xDpi = kinds.back().page.geometry.yDpi = 0;
    return kinds;
}

// Catches wrong header fields, row padding, row order, colour order, polarity and chunk offsets, in each format that
// loses nothing.
TEST(PageEncoder, FileShowsThePictureThatThePageHad)
{
    for (Kind& kind : Kinds()) {
        const PageGeometry& geometry = kind.page.geometry;
        const uint32_t row = static_cast<uint32_t>(geometry.RowBytes());
        for (const GUID& format : {WiaImgFmt_BMP, WiaImgFmt_TIFF, WiaImgFmt_PNG}) {
            for (const uint32_t chunk : {1u, row - 1, row, 2 * row + 1, 0xFFFFFFFFu}) {
                for (const bool ready : {true, false}) {
                    SCOPED_TRACE(testing::Message()
                                 << kind.name << ", " << geometry.width << " wide, chunks of " << chunk
                                 << (ready ? ", ready" : ", scanned")
                                 << (format == WiaImgFmt_BMP    ? ", BMP"
                                     : format == WiaImgFmt_TIFF ? ", TIFF"
                                                                : ", PNG"));
                    kind.page.ready = ready;
                    CheckedSink sink;
                    const auto encoder = MakePageEncoder(format);
                    ASSERT_EQ(encoder->Encode(*PageOf(kind.page), sink, chunk), S_OK);

                    if (format == WiaImgFmt_PNG) {
                        EXPECT_EQ(sink.total, PageSink::kUnknownBytes);
                    } else {
                        EXPECT_EQ(sink.total, encoder->EncodedBytes(geometry));
                        EXPECT_EQ(sink.total, sink.bytes.size());
                    }
                    EXPECT_EQ(sink.written, sink.bytes.size()) << "a byte was written twice or never";
                    EXPECT_EQ(sink.bytes.find("vornwia ") == std::string::npos, format == WiaImgFmt_BMP);
                    EXPECT_EQ(sink.lastPercent, 100u);
                    for (size_t i = 1; i < sink.pieces.size(); ++i)
                        EXPECT_LE(sink.pieces[i].size, chunk);

                    CannedPage decoded;
                    ASSERT_EQ(Decode(sink.bytes, decoded), FIL_SUCCESS);
                    ExpectSamePicture(decoded, kind.page);
                }
            }
        }
    }
}

// JPEG keeps no details: pages of one colour tell depth, palette, polarity, colour order and resolution.
TEST(PageEncoder, JpegIsGreyWhereThePaletteIsAndElseInColour)
{
    for (Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        CannedPage& page = kind.page;
        const auto rowBytes = static_cast<size_t>(page.geometry.RowBytes());
        const uint32_t bits = page.geometry.bitsPerPixel, pixelBytes = bits / 8;
        for (size_t i = 0; i < page.pixels.size(); ++i)
            page.pixels[i] = pixelBytes == 0 ? 0xFF : page.pixels[i % rowBytes % pixelBytes];
        CannedPage decoded;
        ASSERT_EQ(Decode(Encoded(WiaImgFmt_JPEG, page), decoded), FIL_SUCCESS);
        const bool grey = bits < 24 && (page.geometry.palette.empty() ||
                                        page.geometry.palette[0].red == page.geometry.palette[0].blue);
        EXPECT_EQ(decoded.geometry.bitsPerPixel, grey ? 8u : 24u);
        EXPECT_EQ(std::tie(decoded.geometry.width, decoded.geometry.height, decoded.geometry.yDpi),
                  std::tie(page.geometry.width, page.geometry.height, page.geometry.yDpi));
        const uint32_t wanted = ColorAt(page, 0, 0), got = ColorAt(decoded, 0, 0);
        for (const int shift : {0, 8, 16})
            EXPECT_NEAR(int(got >> shift & 255), int(wanted >> shift & 255), 4);
    }
}

TEST(PageEncoder, MemoryBitmapIsTheFileWithoutItsFileHeader)
{
    for (const Kind& kind : Kinds())
        EXPECT_EQ(Encoded(WiaImgFmt_MEMORYBMP, kind.page), Encoded(WiaImgFmt_BMP, kind.page).substr(14))
            << kind.name;
}

// Catches a copy of the page on the way, and rows that arrive in the order of the wrong road.
// Pieces that straddle the chunks of a file make the kernel touch pages of its cache twice.
TEST(PageEncoder, ReadyPictureIsWrittenFromWhereItLiesInAlignedPieces)
{
    constexpr uint32_t header = 40 + 4 * 256, chunk = 256;
    const auto page = PageOf(Noise(60, 30, 8));
    CheckedSink sink;
    ASSERT_EQ(MakePageEncoder(WiaImgFmt_MEMORYBMP)->Encode(*page, sink, chunk), S_OK);
    ASSERT_EQ(sink.pieces.size(), 1u + 8u);
    EXPECT_EQ(sink.pieces[0].size, header);
    for (size_t i = 1; i < sink.pieces.size(); ++i) {
        EXPECT_EQ(sink.pieces[i].offset, i == 1 ? header : (i + 3) * chunk);
        EXPECT_EQ(sink.pieces[i].data, page->ReadyImage() + sink.pieces[i].offset - header);
    }
}

TEST(PageEncoder, ScannedRowsLandFromTheEndOfTheBitmapBackwards)
{
    CannedPage page = Noise(20, 30, 24);
    page.ready = false;
    CheckedSink sink;
    ASSERT_EQ(MakePageEncoder(WiaImgFmt_MEMORYBMP)->Encode(*PageOf(page), sink, 4 * 60 + 7), S_OK);
    ASSERT_EQ(sink.pieces.size(), 1u + 8u);
    EXPECT_EQ(sink.pieces[1].offset, 40u + 26 * 60);
    EXPECT_EQ(sink.pieces.back().offset, 40u);
    EXPECT_EQ(sink.pieces.back().size, 2u * 60);
}

TEST(PageEncoder, SinkThatRefusesEndsThePageWithItsAnswer)
{
    CannedPage page = Noise(5, 4, 24);
    for (const GUID& format : {WiaImgFmt_MEMORYBMP, WiaImgFmt_TIFF, WiaImgFmt_PNG, WiaImgFmt_JPEG}) {
        for (const HRESULT failure : {S_FALSE, E_FAIL, HRESULT(2)}) {
            for (uint32_t call = 1; call <= 6; ++call) {
                SCOPED_TRACE(testing::Message() << "call " << call << " answers " << failure);
                CheckedSink sink;
                sink.failAtCall = call;
                sink.failure = failure;
                page.ready = call % 2 != 0;
                EXPECT_EQ(MakePageEncoder(format)->Encode(*PageOf(page), sink, 16), failure);
                EXPECT_EQ(sink.calls, call);
            }
        }
    }
}

TEST(PageEncoder, PageThatFailsEndsWithItsAnswer)
{
    CannedPage page = Noise(5, 4, 24);
    page.failure = WIA_ERROR_PAPER_JAM;
    for (const GUID& format : {WiaImgFmt_BMP, WiaImgFmt_TIFF, WiaImgFmt_PNG, WiaImgFmt_JPEG}) {
        for (const uint32_t row : {0u, 3u}) {
            page.rowsBeforeFailure = row;
            CheckedSink sink;
            EXPECT_EQ(MakePageEncoder(format)->Encode(*PageOf(page), sink, 16), WIA_ERROR_PAPER_JAM);
            if (sink.total != PageSink::kUnknownBytes) {
                EXPECT_EQ(sink.pieces.size(), 1u + row);
            }
        }
    }
}

/** A page of which nobody may read a row. */
class UnreadablePage final : public Page {
public:
    explicit UnreadablePage(PageGeometry geometry) : geometry_{std::move(geometry)} {}
    const PageGeometry& Geometry() const noexcept override { return geometry_; }
    HRESULT ReadRows(uint8_t*, uint32_t, RowOrder) override { return E_UNEXPECTED; }

private:
    PageGeometry geometry_;
};

TEST(PageEncoder, RefusesWhatTheFormatCannotHoldBeforeAnythingIsWritten)
{
    const struct {
        const char* fault;
        uint32_t width, height, bits, colors;
        bool fitsTiff, tooLarge = false;
    } cases[] = {
        {"no pixels across", 0, 10, 24, 0, false},
        {"no rows", 10, 0, 24, 0, false},
        {"a depth that there is not", 10, 10, 16, 0, false},
        {"a palette longer than the depth", 10, 10, 1, 3, false},
        {"a palette with true colours", 10, 10, 24, 3, false},
        {"just too large for a DIB", 0x7FFFFFFF / 1024, 1024, 8, 0, true, true},
        {"3.6 GB", 30000, 40000, 24, 0, true, true},
        {"4.8 GB", 40000, 40000, 24, 0, false, true},
        {"just too large for a TIFF", 0x10000, 0xFFFF, 8, 0, false, true},
        {"a size that wraps in 32 bits", 0x10001, 0x10000, 8, 0, false, true},
        {"a size that wraps in 64 bits", 0xFFFFFFFF, 0xFFFFFFFF, 24, 0, false},
        {"a width that is negative when signed", 0x80000000, 1, 1, 0, false},
    };
    for (const auto& each : cases) {
        UnreadablePage page{{each.width, each.height, each.bits, 300, 200, ColorfulPalette(each.colors)}};
        for (const GUID& format : {WiaImgFmt_MEMORYBMP, WiaImgFmt_TIFF}) {
            SCOPED_TRACE(each.fault);
            CheckedSink sink;
            const bool fits = each.fitsTiff && format == WiaImgFmt_TIFF;
            EXPECT_EQ(MakePageEncoder(format)->EncodedBytes(page.Geometry()) != 0, fits);
            EXPECT_EQ(MakePageEncoder(format)->Encode(page, sink, 65536),
                      fits            ? E_UNEXPECTED
                      : each.tooLarge ? WIA_ERROR_INCORRECT_HARDWARE_SETTING
                                      : E_INVALIDARG);
            EXPECT_EQ(sink.calls, fits ? 2u : 0u);
        }
    }

    CheckedSink sink;
    EXPECT_EQ(MakePageEncoder(WiaImgFmt_BMP)->Encode(*PageOf(Noise(4, 4, 24)), sink, 0), E_INVALIDARG);
    EXPECT_EQ(MakePageEncoder(WiaImgFmt_EMF), nullptr);
    EXPECT_EQ(MakePageEncoder(WiaImgFmt_JPEG)->EncodedBytes({65501, 1, 1, 0, 0, {}}), 0u)
        << "it has no such width";
    EXPECT_EQ(MakeDocumentEncoder(WiaImgFmt_BMP), nullptr);
}

void ExpectPages(const TiffDocument& document, const std::vector<CannedPage>& pages)
{
    for (uint32_t page = 1; page <= pages.size(); ++page) {
        CannedPage decoded;
        ASSERT_EQ(Decode(document.sink.bytes, decoded, page), FIL_SUCCESS) << "page " << page;
        ExpectSamePicture(decoded, pages[page - 1]);
    }
    CannedPage none;
    EXPECT_EQ(Decode(document.sink.bytes, none, static_cast<uint32_t>(pages.size()) + 1),
              FIL_ERR_NO_SUCH_PAGE);
}

// Some of these widths make pages end on odd bytes, where a directory may not begin.
TEST(PageEncoder, DocumentHoldsItsPagesOneAfterTheOther)
{
    TiffDocument document;
    const std::vector<CannedPage> pages = {Noise(7, 3, 8), Noise(33, 5, 24),
                                           Noise(11, 3, 1, ColorfulPalette(2)), Noise(400, 300, 24)};
    for (const CannedPage& page : pages) {
        const size_t before = document.sink.bytes.size();
        ASSERT_EQ(document.Add(page), S_OK);
        EXPECT_EQ(document.sink.total, document.sink.bytes.size() - before);
        EXPECT_EQ(document.sink.lastPercent, 100u);
        // The last write links the page to the one before; the format wants directories on even bytes.
        EXPECT_EQ(before == 0 ? 0 : document.sink.bytes[document.sink.pieces.back().offset] % 2, 0);
    }
    ExpectPages(document, pages);
}

// Catches a link to a page that is not complete, and a document that cannot go on after a failure.
TEST(PageEncoder, DocumentKeepsItsPagesWhenALaterOneFails)
{
    TiffDocument document;
    const CannedPage first = Noise(7, 3, 8), second = Noise(11, 3, 1, ColorfulPalette(2));
    ASSERT_EQ(document.Add(first), S_OK);
    for (uint32_t call = 1; call <= 3; ++call) {
        ASSERT_EQ(document.Add(Noise(33, 5, 24), call), S_FALSE);
        ExpectPages(document, {first});
    }
    ASSERT_EQ(document.Add(second), S_OK);
    ExpectPages(document, {first, second});
}

}  // namespace
}  // namespace vorn::wia
