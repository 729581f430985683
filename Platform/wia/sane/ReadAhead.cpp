#include "ReadAhead.h"

#include <cstring>

#include "../../include/comobject.h"
#include "Library.h"

namespace vorn::wia {

namespace {

using Clock = std::chrono::steady_clock;

/** A back end is asked for at least so much at once: calls cost, and those across a network more. */
constexpr size_t kReadBytes = 64 * 1024;
constexpr size_t kPieceBytes = 256 * 1024;

/** A slow device's lines are not held back until they fill a piece. */
constexpr auto kBetweenPieces = std::chrono::milliseconds{50};

/** A call that waits for the device gets so long to return by itself, and then to return cancelled. */
constexpr auto kToReturn = std::chrono::milliseconds{300};
constexpr auto kToReturnCancelled = std::chrono::milliseconds{700};

}  // namespace

/** What the thread and its owner share; a thread that is left behind keeps it. */
class ReadAhead::Reading {
public:
    explicit Reading(std::shared_ptr<Scanner> scanner) : scanner_{std::move(scanner)} {}

    /** @return false when the device does not let the thread go */
    bool Stop()
    {
        stop_.request_stop();
        queue_.Close();
        if (AwaitDone(kToReturn))
            return true;
        Interrupt();
        AwaitDone(kToReturnCancelled);
        const std::scoped_lock lock{mutex_};
        abandoned_ = !done_;
        return done_;
    }

    PieceQueue& Queue() noexcept { return queue_; }
    const FrameHead& Head() const noexcept { return head_; }

    void Run() noexcept
    {
        queue_.End(Result());
        std::unique_lock lock{mutex_};
        done_ = true;
        changed_.notify_one();
        if (!abandoned_)
            return;
        lock.unlock();
        scanner_->EndBatch();
    }

private:
    HRESULT Result() noexcept
    try {
        FrameInput input{*scanner_, stop_.get_token()};
        const HRESULT result = input.Start(head_);
        return result == S_OK ? ReadPieces(input) : result;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const Failure& failure) {
        return failure.result;
    }

    HRESULT ReadPieces(FrameInput& input)
    {
        const size_t lineBytes = head_.LineBytes(), capacity = kPieceBytes + lineBytes;
        auto lastGiven = Clock::time_point{};
        Piece* piece = queue_.Free(capacity);
        while (piece) {
            size_t length = 0;
            const HRESULT result =
                input.Read(piece->bytes.get() + piece->size, capacity - piece->size, length);
            piece->size += length;
            const bool ended = result != S_OK || length == 0;
            const bool full = capacity - piece->size < kReadBytes;
            const auto now = Clock::now();
            if (piece->size >= lineBytes && (ended || full || now - lastGiven >= kBetweenPieces)) {
                const size_t left = piece->size % lineBytes;
                const uint8_t* const rest = piece->bytes.get() + piece->size - left;
                piece->size -= left;
                queue_.Give();
                piece = ended ? nullptr : queue_.Free(capacity);
                if (piece) {
                    std::memcpy(piece->bytes.get(), rest, left);
                    piece->size = left;
                }
                lastGiven = now;
            }
            if (ended)
                return result;
        }
        return S_FALSE;
    }

    /** From a thread of its own: a host that does not answer keeps the cancel as long as the read. */
    void Interrupt()
    try {
        const NoSignals forTheThread;
        std::thread{[scanner = scanner_] { scanner->Interrupt(); }}.detach();
    } catch (const std::exception&) {
        scanner_->Interrupt();
    }

    bool AwaitDone(std::chrono::milliseconds moment)
    {
        std::unique_lock lock{mutex_};
        return changed_.wait_for(lock, moment, [this] { return done_; });
    }

    std::shared_ptr<Scanner> scanner_;
    std::stop_source stop_;
    PieceQueue queue_;
    FrameHead head_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool done_ = false, abandoned_ = false;
};

ReadAhead::ReadAhead(std::shared_ptr<Scanner> scanner)
    : reading_{std::make_shared<Reading>(std::move(scanner))}
{
    const NoSignals forTheThread;
    thread_ = std::thread{[reading = reading_] { reading->Run(); }};
}

ReadAhead::~ReadAhead()
{
    if (reading_->Stop())
        thread_.join();
    else
        thread_.detach();
}

HRESULT ReadAhead::Take(std::chrono::milliseconds moment, const Piece*& piece)
{
    return reading_->Queue().Take(moment, piece);
}

const FrameHead& ReadAhead::Head() const noexcept
{
    return reading_->Head();
}

}  // namespace vorn::wia
