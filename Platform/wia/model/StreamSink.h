/**
 * @file StreamSink.h
 * Writes encoded pages into a stream, page after page where the format allows it.
 */
#pragma once

#include <functional>

#include "Device.h"
#include "PageEncoder.h"

namespace vorn::wia {

/**
 * How much of a page is written into a stream at once. A device that scans reports progress and hears of a cancel
 * after each chunk; one that has the page already is done soon, and larger chunks cost a file system less.
 */
inline uint32_t StreamChunkBytes(const Page& page) noexcept
{
    return page.ReadyImage() ? 1024 * 1024 : 256 * 1024;
}

/** A result of the client's stream or file as the service answers it: an error of the system there is WIA_ERROR_DESTINATION, so that it is not
 * taken for one of the device. */
HRESULT DestinationResult(HRESULT result) noexcept;

class StreamSink final : public PageSink {
public:
    /** Told after each write; anything but `S_OK` ends the page there. */
    using Progress = std::function<HRESULT(uint32_t percent, uint64_t bytes)>;

    StreamSink(IStream& stream, const Device& device, Progress progress)
        : stream_{stream}, device_{device}, progress_{std::move(progress)}
    {
    }

    HRESULT Begin(uint64_t totalBytes, uint32_t headerBytes) override;
    HRESULT Write(uint64_t offset, const uint8_t* data, uint32_t size, uint32_t percent) override;

    /** The pages so far are complete: their bytes stay when a later page fails. Fails when they were not all written. */
    HRESULT Keep();
    uint64_t KeptBytes() const noexcept { return kept_; }
    /** Bytes of the page under way that have been written. */
    uint64_t PageBytes() const noexcept { return pageBytes_; }
    /** Cuts off what a failed page has left. */
    HRESULT DropUnfinished() { return SetSize(kept_); }

private:
    HRESULT SetSize(uint64_t size);
    HRESULT WriteAll(const uint8_t* data, uint32_t size);

    IStream& stream_;
    const Device& device_;
    Progress progress_;
    uint64_t size_ = 0, kept_ = 0, position_ = 0, pageBytes_ = 0;
};

}  // namespace vorn::wia
