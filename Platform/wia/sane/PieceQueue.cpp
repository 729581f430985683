#include "PieceQueue.h"

namespace vorn::wia {

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
    if (!changed_.wait_for(lock, moment, [this] { return ended_ || given_ > taken_; }))
        return S_FALSE;
    if (given_ == taken_)
        return result_;
    piece = &pieces_[taken_++ % kPieces];
    return S_OK;
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
