#include "Pages.h"

namespace vorn::wia {
namespace {

struct Kind {
    const char* name;
    PageGeometry geometry;
};

std::vector<Kind> Kinds()
{
    const PaletteEntry black{0, 0, 0, 0}, white{255, 255, 255, 0};
    std::vector<Kind> kinds;
    for (const uint32_t width : {1u, 7u, 8u, 33u, 50u}) {
        kinds.push_back({"1 bit", MakeGeometry(width, 9, 1, {black, white})});
        kinds.push_back({"1 bit, white first", MakeGeometry(width, 9, 1, {white, black})});
        kinds.push_back({"1 bit in colour", MakeGeometry(width, 9, 1, ColorfulPalette(2))});
        kinds.push_back({"4 bits", MakeGeometry(width, 9, 4, ColorfulPalette(16))});
        kinds.push_back({"8 bits, no palette", MakeGeometry(width, 9, 8)});
        kinds.push_back({"8 bits in colour", MakeGeometry(width, 9, 8, ColorfulPalette(256))});
        kinds.push_back({"8 bits, short palette", MakeGeometry(width, 9, 8, ColorfulPalette(5))});
        kinds.push_back({"24 bits", MakeGeometry(width, 9, 24)});
    }
    return kinds;
}

std::vector<uint8_t> Encoded(REFGUID format, Page& page, uint32_t chunkBytes = 4096)
{
    CheckedSink sink;
    EXPECT_EQ(MakePageEncoder(format)->Encode(page, sink, chunkBytes), S_OK);
    return sink.bytes;
}

// Catches wrong header fields, row padding, row order, colour order and chunk offsets, in either format.
TEST(PageEncoder, FileShowsThePictureThatThePageHad)
{
    for (const Kind& kind : Kinds()) {
        const PageGeometry& geometry = kind.geometry;
        const std::vector<uint8_t> image = RandomImage(geometry);
        const uint32_t row = static_cast<uint32_t>(geometry.RowBytes());
        for (const GUID& format : {WiaImgFmt_BMP, WiaImgFmt_TIFF}) {
            for (const uint32_t chunk : {1u, row - 1, row, 2 * row + 1, 0xFFFFFFFFu}) {
                for (const bool ready : {true, false}) {
                    SCOPED_TRACE(testing::Message()
                                 << kind.name << ", " << geometry.width << " wide, chunks of " << chunk
                                 << (ready ? ", ready" : ", scanned")
                                 << (format == WiaImgFmt_BMP ? ", BMP" : ", TIFF"));
                    CheckedSink sink;
                    const auto encoder = MakePageEncoder(format);
                    const auto page = ready ? ReadyPage(geometry, image) : ScannedPage(geometry, image);
                    ASSERT_EQ(encoder->Encode(*page, sink, chunk), S_OK);

                    EXPECT_EQ(sink.total, encoder->EncodedBytes(geometry));
                    EXPECT_EQ(sink.total, sink.bytes.size());
                    EXPECT_EQ(sink.total, sink.written) << "a byte was written twice or never";
                    EXPECT_EQ(sink.lastPercent, 100u);
                    for (size_t i = 1; i < sink.pieces.size(); ++i)
                        EXPECT_LE(sink.pieces[i].size, chunk);

                    Loaded loaded;
                    ASSERT_EQ(loaded.FromMemory(sink.bytes), KRN_SUCCESS);
                    ExpectSamePicture(loaded.bitmap, geometry, image);
                }
            }
        }
    }
}

TEST(PageEncoder, MemoryBitmapIsTheFileWithoutItsFileHeader)
{
    for (const Kind& kind : Kinds()) {
        SCOPED_TRACE(kind.name);
        const std::vector<uint8_t> image = RandomImage(kind.geometry);
        const auto file = Encoded(WiaImgFmt_BMP, *ReadyPage(kind.geometry, image));
        const auto memory = Encoded(WiaImgFmt_MEMORYBMP, *ReadyPage(kind.geometry, image));
        ASSERT_EQ(memory.size() + 14, file.size());
        EXPECT_TRUE(std::equal(memory.begin(), memory.end(), file.begin() + 14));
    }
}

TEST(PageEncoder, HeaderOfAGreyPageIs1064Bytes)
{
    const PageGeometry geometry = MakeGeometry(10, 3, 8);
    CheckedSink sink;
    const auto page = ReadyPage(geometry, RandomImage(geometry));
    ASSERT_EQ(MakePageEncoder(WiaImgFmt_MEMORYBMP)->Encode(*page, sink, 100), S_OK);
    EXPECT_EQ(sink.pieces.front().size, 40u + 1024u);
    EXPECT_EQ(sink.pieces.front().offset, 0u);
}

// Catches a copy of the page on the way, and rows that arrive in the order of the wrong road.
// Pieces that straddle the chunks of a file make the kernel touch pages of its cache twice.
TEST(PageEncoder, ReadyPictureIsWrittenFromWhereItLiesInAlignedPieces)
{
    constexpr uint32_t chunk = 256;
    const PageGeometry geometry = MakeGeometry(20, 30, 24);
    const auto page = ReadyPage(geometry, RandomImage(geometry));
    CheckedSink sink;
    ASSERT_EQ(MakePageEncoder(WiaImgFmt_MEMORYBMP)->Encode(*page, sink, chunk), S_OK);
    ASSERT_EQ(sink.pieces.size(), 1u + 8u);
    for (size_t i = 1; i < sink.pieces.size(); ++i) {
        EXPECT_EQ(sink.pieces[i].offset, i == 1 ? 40 : (i - 1) * chunk);
        EXPECT_EQ(sink.pieces[i].data, page->ReadyImage() + sink.pieces[i].offset - 40);
    }
}

TEST(PageEncoder, ScannedRowsLandFromTheEndOfTheBitmapBackwards)
{
    const PageGeometry geometry = MakeGeometry(20, 30, 24);
    const auto page = ScannedPage(geometry, RandomImage(geometry));
    CheckedSink sink;
    ASSERT_EQ(MakePageEncoder(WiaImgFmt_MEMORYBMP)->Encode(*page, sink, 4 * 60 + 7), S_OK);
    ASSERT_EQ(sink.pieces.size(), 1u + 8u);
    EXPECT_EQ(page->largestRead, 4u);
    EXPECT_EQ(sink.pieces[1].offset, 40u + 26 * 60);
    EXPECT_EQ(sink.pieces.back().offset, 40u);
    EXPECT_EQ(sink.pieces.back().size, 2u * 60);
}

TEST(PageEncoder, SinkThatRefusesEndsThePageWithItsAnswer)
{
    const PageGeometry geometry = MakeGeometry(5, 4, 24);
    const std::vector<uint8_t> image = RandomImage(geometry);
    for (const GUID& format : {WiaImgFmt_MEMORYBMP, WiaImgFmt_BMP, WiaImgFmt_TIFF}) {
        for (const HRESULT failure : {S_FALSE, E_FAIL, HRESULT(-1), HRESULT(2)}) {
            for (uint32_t call = 1; call <= 6; ++call) {
                SCOPED_TRACE(testing::Message() << "call " << call << " answers " << failure);
                CheckedSink sink;
                sink.failAtCall = call;
                sink.failure = failure;
                const auto page = call % 2 ? ReadyPage(geometry, image) : ScannedPage(geometry, image);
                EXPECT_EQ(MakePageEncoder(format)->Encode(*page, sink, 16), failure);
                EXPECT_EQ(sink.calls, call);
            }
        }
    }
}

TEST(PageEncoder, PageThatFailsEndsWithItsAnswer)
{
    const PageGeometry geometry = MakeGeometry(5, 4, 24);
    for (const GUID& format : {WiaImgFmt_BMP, WiaImgFmt_TIFF}) {
        for (const uint32_t row : {0u, 2u, 3u}) {
            const auto page = ScannedPage(geometry, RandomImage(geometry));
            page->failAtRow = row;
            CheckedSink sink;
            EXPECT_EQ(MakePageEncoder(format)->Encode(*page, sink, 16), WIA_ERROR_PAPER_JAM);
            EXPECT_EQ(sink.pieces.size(), 1u + row);
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
        PageGeometry geometry;
        bool fitsTiff;
    } cases[] = {
        {"no pixels across", MakeGeometry(0, 10, 24), false},
        {"no rows", MakeGeometry(10, 0, 24), false},
        {"a depth that there is not", MakeGeometry(10, 10, 16), false},
        {"a palette longer than the depth", MakeGeometry(10, 10, 1, ColorfulPalette(3)), false},
        {"a palette with true colours", MakeGeometry(10, 10, 24, ColorfulPalette(3)), false},
        {"just too large for a DIB", MakeGeometry(0x7FFFFFFF / 1024, 1024, 8), true},
        {"3.6 GB", MakeGeometry(30000, 40000, 24), true},
        {"4.8 GB", MakeGeometry(40000, 40000, 24), false},
        {"just too large for a TIFF", MakeGeometry(0x10000, 0xFFFF, 8), false},
        {"a size that wraps in 32 bits", MakeGeometry(0x10001, 0x10000, 8), false},
        {"a size that wraps in 64 bits", MakeGeometry(0xFFFFFFFF, 0xFFFFFFFF, 24), false},
        {"a width that is negative when signed", MakeGeometry(0x80000000, 1, 1), false},
    };
    for (const auto& each : cases) {
        for (const GUID& format : {WiaImgFmt_MEMORYBMP, WiaImgFmt_BMP, WiaImgFmt_TIFF}) {
            SCOPED_TRACE(each.fault);
            UnreadablePage page{each.geometry};
            CheckedSink sink;
            const bool fits = each.fitsTiff && format == WiaImgFmt_TIFF;
            EXPECT_EQ(MakePageEncoder(format)->EncodedBytes(each.geometry) != 0, fits);
            EXPECT_EQ(MakePageEncoder(format)->Encode(page, sink, 65536), fits ? E_UNEXPECTED : E_INVALIDARG);
            EXPECT_EQ(sink.calls, fits ? 2u : 0u);
        }
    }

    const PageGeometry small = MakeGeometry(4, 4, 24);
    CheckedSink sink;
    EXPECT_EQ(MakePageEncoder(WiaImgFmt_BMP)->Encode(*ReadyPage(small, RandomImage(small)), sink, 0),
              E_INVALIDARG);
    EXPECT_EQ(MakePageEncoder(WiaImgFmt_JPEG), nullptr);
    EXPECT_EQ(MakeDocumentEncoder(WiaImgFmt_BMP), nullptr);
}

TEST(PageEncoder, UnknownResolutionStaysUnknown)
{
    PageGeometry geometry = MakeGeometry(6, 5, 8);
    geometry.xDpi = geometry.yDpi = 0;
    const std::vector<uint8_t> image = RandomImage(geometry);
    for (const GUID& format : {WiaImgFmt_BMP, WiaImgFmt_TIFF}) {
        Loaded loaded;
        ASSERT_EQ(loaded.FromMemory(Encoded(format, *ReadyPage(geometry, image))), KRN_SUCCESS);
        ExpectSamePicture(loaded.bitmap, geometry, image);
    }
}

class TiffDocument : public testing::Test {
protected:
    // Widths whose pages end on odd bytes, where a directory may not begin.
    const std::vector<PageGeometry> geometries_ = {MakeGeometry(7, 3, 8), MakeGeometry(33, 5, 24),
                                                   MakeGeometry(11, 3, 1, ColorfulPalette(2)),
                                                   MakeGeometry(400, 300, 24)};

    HRESULT Add(size_t index)
    {
        const PageGeometry& geometry = geometries_[index];
        return encoder_->Encode(*ScannedPage(geometry, RandomImage(geometry)), sink_, 1000);
    }

    void ExpectPages(const std::vector<size_t>& indices)
    {
        for (uint32_t page = 1; page <= indices.size(); ++page) {
            Loaded loaded;
            ASSERT_EQ(loaded.FromMemory(sink_.bytes, page), KRN_SUCCESS) << "page " << page;
            const PageGeometry& geometry = geometries_[indices[page - 1]];
            ExpectSamePicture(loaded.bitmap, geometry, RandomImage(geometry));
        }
        Loaded none;
        EXPECT_EQ(none.FromMemory(sink_.bytes, static_cast<uint32_t>(indices.size()) + 1),
                  FIL_ERR_NO_SUCH_PAGE);
    }

    const std::unique_ptr<PageEncoder> encoder_ = MakeDocumentEncoder(WiaImgFmt_TIFF);
    CheckedSink sink_;
};

TEST_F(TiffDocument, HoldsItsPagesOneAfterTheOther)
{
    for (size_t i = 0; i < geometries_.size(); ++i) {
        const size_t before = sink_.bytes.size();
        ASSERT_EQ(Add(i), S_OK);
        EXPECT_EQ(sink_.total, sink_.bytes.size() - before);
        EXPECT_EQ(sink_.lastPercent, 100u);
        // The last write links the page to the one before; the format wants directories on even bytes.
        EXPECT_EQ(i == 0 ? 0 : sink_.bytes[sink_.pieces.back().offset] % 2, 0);
        sink_.ExpectNextPage();
    }
    ExpectPages({0, 1, 2, 3});
}

// Catches a link to a page that is not complete, and a document that cannot go on after a failure.
TEST_F(TiffDocument, KeepsItsPagesWhenALaterOneFails)
{
    ASSERT_EQ(Add(0), S_OK);
    for (uint32_t call = 1; call <= 3; ++call) {
        sink_.ExpectNextPage();
        sink_.failAtCall = call;
        ASSERT_EQ(Add(1), S_FALSE);
        ExpectPages({0});
    }
    sink_.ExpectNextPage();
    ASSERT_EQ(Add(2), S_OK);
    ExpectPages({0, 2});
}

}  // namespace
}  // namespace vorn::wia
