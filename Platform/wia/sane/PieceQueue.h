/**
 * @file PieceQueue.h
 * Bytes in large pieces on their way from the thread that reads them to the one that takes them.
 */
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "../../include/platform.h"

namespace vorn::wia {

struct Piece {
    std::unique_ptr<uint8_t[]> bytes;
    size_t size = 0;
};

/** Few pieces, used again and again, so that they stay in the cache. One thread gives, another takes. */
class PieceQueue {
public:
    /** For who gives: an empty piece, waited for; null when no one takes any more. Throws std::bad_alloc. */
    Piece* Free(size_t capacity);
    /** Hands over the piece that was free. */
    void Give();
    /** Nothing follows. @param result  what ended it: `S_OK` after the last byte */
    void End(HRESULT result);

    /**
     * For who takes: the next piece, once it is there. The one that was taken before is free again.
     * @param piece  null after the last
     * @return `S_OK`; `S_FALSE` when none came within the moment; after the last what the giver ended with
     */
    HRESULT Take(std::chrono::milliseconds moment, const Piece*& piece);
    /** No one takes any more. */
    void Close();

private:
    /**
     * While the device is fast the taker stays awake: were it to sleep, the device's thread would move to its
     * processor, and each handover between that thread and the reader would then cost a wake-up across processors.
     */
    bool AwaitGiven(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds moment);

    static constexpr size_t kPieces = 4;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::array<Piece, kPieces> pieces_;
    size_t given_ = 0, taken_ = 0, returned_ = 0;  ///< so many, since the beginning
    bool ended_ = false, closed_ = false;
    bool fast_ = true;
    HRESULT result_ = S_OK;
};

}  // namespace vorn::wia
