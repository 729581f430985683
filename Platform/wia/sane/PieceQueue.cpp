#include "PieceQueue.h"

#include <thread>

namespace vorn::wia {

namespace {

/** A device is fast when its next piece is there so soon. */
constexpr auto kSoon = std::chrono::milliseconds{1};

}  // namespace

Piece* PieceQueue::Free(size_t capacity)
{
    std::unique_lock lock{mutex_};
    changed_.wait(lock, [this] { return closed_ || given_ - returned_ < kPieces; });
    if (closed_)
        return nullptr;
    Piece& piece = pieces_[given_ % kPieces];
    if (!piece.bytes)
        piece.bytes = std::make_unique_for_overwrite<uint8_t[]>(capacity);
    piece.size = 0;
    return &piece;
}

void PieceQueue::Give()
{
    {
        const std::scoped_lock lock{mutex_};
        ++given_;
    }
    changed_.notify_one();
}

void PieceQueue::End(HRESULT result)
{
    {
        const std::scoped_lock lock{mutex_};
        ended_ = true;
        result_ = result;
    }
    changed_.notify_one();
}

HRESULT PieceQueue::Take(std::chrono::milliseconds moment, const Piece*& piece)
{
    std::unique_lock lock{mutex_};
    piece = nullptr;
    if (returned_ != taken_) {
        returned_ = taken_;
        changed_.notify_one();
    }
    if (!AwaitGiven(lock, moment))
        return S_FALSE;
    if (given_ == taken_)
        return result_;
    piece = &pieces_[taken_++ % kPieces];
    return S_OK;
}

bool PieceQueue::AwaitGiven(std::unique_lock<std::mutex>& lock, std::chrono::milliseconds moment)
{
    const auto given = [this] { return ended_ || given_ > taken_; };
    const auto begin = std::chrono::steady_clock::now();
    const auto isSoon = [begin] { return std::chrono::steady_clock::now() - begin < kSoon; };
    while (fast_ && !given() && isSoon()) {
        lock.unlock();
        std::this_thread::yield();
        lock.lock();
    }
    const bool came = changed_.wait_for(lock, moment, given);
    fast_ = isSoon();
    return came;
}

void PieceQueue::Close()
{
    {
        const std::scoped_lock lock{mutex_};
        closed_ = true;
    }
    changed_.notify_one();
}

}  // namespace vorn::wia
