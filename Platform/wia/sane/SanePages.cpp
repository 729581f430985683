#include "SanePages.h"

#include <algorithm>
#include <cstring>

#include "../../include/comobject.h"
#include "Area.h"
#include "FrameReader.h"
#include "Settings.h"

namespace vorn::wia {

namespace {

constexpr uint64_t kMostBytesOfUnknownArea = uint64_t{1} << 30;
constexpr uint32_t kMoreLines = 1000;

/** White where the device delivered fewer lines than it had announced: the rest of the paper was not there. */
void ClearRow(uint8_t* row, uint64_t bytes) noexcept
{
    std::memset(row, 0xFF, static_cast<size_t>(bytes));
}

uint8_t* RowIn(uint8_t* rows, uint32_t i, uint32_t count, RowOrder order, uint64_t rowBytes) noexcept
{
    return rows + (order == RowOrder::TopDown ? i : count - 1 - i) * rowBytes;
}

/** Ends the scan on every way out that is not the end of the page. */
class PageGuard {
public:
    PageGuard(std::shared_ptr<Scanner> scanner, bool feeder) noexcept
        : scanner_{std::move(scanner)}, feeder_{feeder}
    {
    }
    PageGuard(const PageGuard&) = delete;
    ~PageGuard()
    {
        if (!done_)
            scanner_->EndBatch();
    }

    /** @param ended  the device has come to the end of the page: another one of the batch can follow */
    void PageIsDone(bool ended) noexcept
    {
        done_ = true;
        scanner_->EndPage();
        if (!feeder_ || !ended)
            scanner_->EndBatch();
    }

private:
    std::shared_ptr<Scanner> scanner_;
    bool feeder_;
    bool done_ = false;
};

/** A page in one frame of a height that is known: its lines go straight to where they are wanted. */
class StreamedPage final : public Page {
public:
    StreamedPage(std::shared_ptr<Scanner> scanner, PageGeometry geometry, FrameReader reader,
                 std::unique_ptr<PageGuard> guard)
        : scanner_{std::move(scanner)},
          geometry_{std::move(geometry)},
          guard_{std::move(guard)},
          reader_{std::move(reader)}
    {
    }

    const PageGeometry& Geometry() const noexcept override { return geometry_; }

    HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder order) override
    {
        return ReadLines(count, [&](uint32_t i, const uint8_t* line) {
            uint8_t* const row = RowIn(rows, i, count, order, geometry_.RowBytes());
            if (line)
                reader_.Format().convert(line, row, geometry_.width);
            else
                ClearRow(row, geometry_.RowBytes());
        });
    }

    HRESULT ReadRgbRows(uint8_t* rows, uint32_t count) override
    {
        if (reader_.Parameters().format != SANE_FRAME_RGB || reader_.Parameters().depth != 8)
            return E_NOTIMPL;
        const uint64_t rowBytes = uint64_t{geometry_.width} * 3;
        return ReadLines(count, [&](uint32_t i, const uint8_t* line) {
            if (line)
                std::memcpy(rows + i * rowBytes, line, static_cast<size_t>(rowBytes));
            else
                ClearRow(rows + i * rowBytes, rowBytes);
        });
    }

private:
    /** @param put  takes the number of a line and its bytes: null for a line that did not come */
    template <typename Put>
    HRESULT ReadLines(uint32_t count, Put&& put)
    {
        return NoThrow([&]() -> HRESULT {
            const Scanner::Use use{*scanner_};
            for (uint32_t i = 0; i < count; ++i) {
                const uint8_t* line = nullptr;
                if (const HRESULT result = reader_.NextLine(line); result != S_OK)
                    return result;
                put(i, line);
            }
            rowsRead_ += count;
            if (rowsRead_ >= geometry_.height)
                guard_->PageIsDone(reader_.Finish());
            return S_OK;
        });
    }

    std::shared_ptr<Scanner> scanner_;
    PageGeometry geometry_;
    std::unique_ptr<PageGuard> guard_;  ///< ends the scan when no one reads any more
    FrameReader reader_;
    uint32_t rowsRead_ = 0;
};

/** Rows of a page in blocks, so that more of them never have the earlier ones moved. */
class RowStore {
public:
    explicit RowStore(uint64_t rowBytes) noexcept
        : rowBytes_{rowBytes},
          rowsPerBlock_{static_cast<size_t>(std::max<uint64_t>(1, kBlockBytes / rowBytes))}
    {
    }

    size_t Count() const noexcept { return count_; }
    uint8_t* Add()
    {
        if (count_ == blocks_.size() * rowsPerBlock_)
            blocks_.push_back(std::make_unique<uint8_t[]>(rowsPerBlock_ * rowBytes_));
        return Row(count_++);
    }
    uint8_t* Row(size_t i) const noexcept
    {
        return blocks_[i / rowsPerBlock_].get() + i % rowsPerBlock_ * rowBytes_;
    }

private:
    static constexpr uint64_t kBlockBytes = 1024 * 1024;
    uint64_t rowBytes_;
    size_t rowsPerBlock_;
    size_t count_ = 0;
    std::vector<std::unique_ptr<uint8_t[]>> blocks_;
};

/** A page that had to be scanned before it could be delivered. */
class StoredPage final : public Page {
public:
    StoredPage(PageGeometry geometry, RowStore rows) : geometry_{std::move(geometry)}, rows_{std::move(rows)}
    {
        geometry_.height = static_cast<uint32_t>(rows_.Count());
    }

    const PageGeometry& Geometry() const noexcept override { return geometry_; }

    HRESULT ReadRows(uint8_t* rows, uint32_t count, RowOrder order) override
    {
        const size_t rowBytes = static_cast<size_t>(geometry_.RowBytes());
        for (uint32_t i = 0; i < count; ++i)
            std::memcpy(RowIn(rows, i, count, order, rowBytes), rows_.Row(next_++), rowBytes);
        return S_OK;
    }

private:
    PageGeometry geometry_;
    RowStore rows_;
    size_t next_ = 0;
};

class SaneSource final : public PageSource {
public:
    SaneSource(std::shared_ptr<Scanner> scanner, bool feeder) noexcept
        : scanner_{std::move(scanner)}, feeder_{feeder}
    {
    }
    ~SaneSource() override { EndTransfer(); }

    bool HasPage() const override { return true; }

    HRESULT NextPage(const PageRequest& request, std::unique_ptr<Page>& page) override
    {
        const Scanner::Use use{*scanner_};
        if (scanner_->IsScanning())
            return WIA_ERROR_BUSY;
        scanner_->OpenIfLost();
        settings_ = request.settings;
        Settings{*scanner_, *settings_}.PutInForce();
        auto guard = std::make_unique<PageGuard>(scanner_, feeder_);
        FrameReader reader{scanner_, request.pulse};
        if (const HRESULT result = reader.Start(); result != S_OK)
            return result;

        const SANE_Parameters& parameters = reader.Parameters();
        PageGeometry geometry;
        geometry.width = reader.Pixels();
        geometry.height = static_cast<uint32_t>(std::max(0, parameters.lines));
        geometry.bitsPerPixel = reader.Format().bitsPerPixel;
        geometry.xDpi = Dpi(Role::Left);
        geometry.yDpi = Dpi(Role::Top);
        const bool oneFrame = parameters.format == SANE_FRAME_GRAY || parameters.format == SANE_FRAME_RGB;
        if (oneFrame && parameters.lines > 0 && geometry.ImageBytes() <= MostBytes(geometry)) {
            page = std::make_unique<StreamedPage>(scanner_, std::move(geometry), std::move(reader),
                                                  std::move(guard));
            return S_OK;
        }
        return StorePage(std::move(geometry), reader, *guard, page);
    }

    /** A batch of another tree of the same scanner goes on. */
    void EndTransfer() noexcept override
    {
        if (settings_)
            scanner_->EndBatchOf(settings_);
    }

private:
    double Dpi(Role first)
    {
        const SaneOption* const option = ResolutionOf(*scanner_, first);
        return option ? option->Number() : 0;
    }

    /** A page is believed to be no larger than the area asked for, and some more since devices round; one of unknown area
     * no larger than this. */
    uint64_t MostBytes(const PageGeometry& geometry)
    {
        const Area down = AreaOf(*scanner_, Role::Top, Role::Bottom);
        const LONG lines = down.known ? down.Pixels(down.end - down.start) : 0;
        return lines > 0 ? (uint64_t{2} * static_cast<uint32_t>(lines) + kMoreLines) * geometry.RowBytes()
                         : kMostBytesOfUnknownArea;
    }

    /** Frames of one colour each follow one another until the device says that it was the last. */
    HRESULT StorePage(PageGeometry geometry, FrameReader& reader, PageGuard& guard,
                      std::unique_ptr<Page>& page)
    {
        RowStore rows{geometry.RowBytes()};
        for (int frame = 0;; ++frame) {
            if (const HRESULT result = StoreFrame(geometry, reader, rows, frame == 0); result != S_OK)
                return result;
            if (!reader.Finish())
                return WIA_ERROR_INVALID_DRIVER_RESPONSE;
            if (reader.Parameters().last_frame || frame == 2)
                break;
            if (const HRESULT result = reader.Start(); result != S_OK)
                return result == WIA_ERROR_PAPER_EMPTY ? WIA_ERROR_INVALID_DRIVER_RESPONSE : result;
            if (reader.Pixels() != geometry.width || reader.Format().bitsPerPixel != geometry.bitsPerPixel)
                return WIA_ERROR_INVALID_DRIVER_RESPONSE;
        }
        guard.PageIsDone(true);
        page = std::make_unique<StoredPage>(std::move(geometry), std::move(rows));
        return S_OK;
    }

    HRESULT StoreFrame(const PageGeometry& geometry, FrameReader& reader, RowStore& rows, bool first)
    {
        const uint64_t most = MostBytes(geometry) / geometry.RowBytes();
        for (size_t i = 0;; ++i) {
            const uint8_t* line = nullptr;
            if (const HRESULT result = reader.NextLine(line); result != S_OK)
                return result;
            if (!line)
                return i > 0 ? S_OK : WIA_ERROR_INVALID_DRIVER_RESPONSE;
            if (i >= most)
                return WIA_ERROR_INVALID_DRIVER_RESPONSE;
            if (first)
                reader.Format().convert(line, rows.Add(), geometry.width);
            else if (i < rows.Count())
                reader.Format().convert(line, rows.Row(i), geometry.width);
        }
    }

    std::shared_ptr<Scanner> scanner_;
    bool feeder_;
    const PropertyTable* settings_ = nullptr;  ///< those that the last page was scanned with
};

}  // namespace

std::shared_ptr<PageSource> MakeSaneSource(std::shared_ptr<Scanner> scanner, bool feeder)
{
    return std::make_shared<SaneSource>(std::move(scanner), feeder);
}

}  // namespace vorn::wia
