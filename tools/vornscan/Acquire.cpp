#include "Acquire.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "Interrupt.h"
#include "Progress.h"
#include "PropertyIds.h"
#include "Vornfilx.h"
#include "Vornkrnx.h"

namespace vornscan {
namespace {

using Clock = std::chrono::steady_clock;

/** The library's list of files, freed at the end as the library wants it. */
class FileList {
public:
    FileList() = default;
    FileList(const FileList&) = delete;
    ~FileList()
    {
        for (uint32_t i = 0; names_ && i < count_; ++i)
            KrnFree(names_[i], __LINE__, __FILE__);
        if (names_)
            KrnFree(names_, __LINE__, __FILE__);
    }

    uint32_t* Count() { return &count_; }
    WCHAR*** Names() { return &names_; }

    std::vector<std::string> Texts() const
    {
        std::vector<std::string> texts;
        for (uint32_t i = 0; names_ && i < count_; ++i)
            texts.push_back(ToNarrow(names_[i]));
        return texts;
    }

private:
    uint32_t count_ = 0;
    WCHAR** names_ = nullptr;
};

/** Notices pages that began and never arrived. */
class PageWatch {
public:
    void Progress(int32_t percent)
    {
        if (begun_ && percent < percent_)
            lost_ = true;
        begun_ = begun_ || percent > 0;
        percent_ = percent;
    }
    void Delivered() { begun_ = false; }

    /** So far; at the end of the acquisition also a page that is still under way is lost. */
    bool HasLost(bool atEnd = false) const { return lost_ || (atEnd && begun_); }

private:
    bool begun_ = false, lost_ = false;
    int32_t percent_ = 0;
};

/** What the callbacks of an acquisition work on. */
struct Job {
    PageFiles files;
    Progress progress;
    PageWatch watch;
    std::optional<Failure> failure;

    template <typename Saving>
    int32_t Hear(Saving save, int32_t percent, int32_t state) noexcept
    {
        try {
            if (save())
                watch.Delivered();
            else if (state != TRANSFER_STATE_END)
                watch.Progress(percent);
            progress.Show(percent, state);
        } catch (const Failure& reason) {
            failure = reason;
        } catch (const std::bad_alloc&) {
            failure = StatusFailure("saving a page", FIL_ERR_OUT_OF_MEMORY);
        } catch (const std::exception& reason) {
            failure = Failure{ExitCode::InputOutput, reason.what()};
        }
        return failure || watch.HasLost() || Interrupted() ? ERR_ABORTED : SUCCESS;
    }

    int32_t HearFile(int32_t percent, int32_t state) noexcept
    {
        return Hear([&] { return state == TRANSFER_STATE_END && files.SaveDraft(); }, percent, state);
    }

    int32_t HearBitmap(BitmapHandle* page, int32_t percent, int32_t state) noexcept
    {
        const auto save = [&] {
            const bool whole = page && page->image && state == TRANSFER_STATE_END && !Interrupted();
            if (whole)
                files.Save(*page);
            return whole;
        };
        return Hear(save, page ? 0 : percent, state);
    }
};

Outcome AcquireFiles(const Session& session, WiaItemHandle item, const AcquireOptions& record, Job& job)
{
    const auto callback = [](WiaSession*, const WCHAR*, int32_t percent, int32_t state,
                             void* userData) -> int32_t {
        return static_cast<Job*>(userData)->HearFile(percent, state);
    };
    FileList list;
    const int32_t status = Vorn_WiaAcquireToFile(session.Handle(), nullptr, 0, item, &record, list.Count(),
                                                 list.Names(), callback, &job);
    std::vector<std::string> files = job.files.Files();
    const bool lost = files.size() < *list.Count();
    return {status, std::move(files), job.failure, lost};
}

Outcome AcquireMemory(const Session& session, WiaItemHandle item, const AcquireOptions& record, Job& job)
{
    const auto callback = [](WiaSession*, BitmapHandle* page, const WCHAR*, int32_t percent, int32_t state,
                             void* userData) -> int32_t {
        return static_cast<Job*>(userData)->HearBitmap(page, percent, state);
    };
    FileList list;
    const int32_t status = Vorn_WiaAcquire(session.Handle(), nullptr, 0, item, &record, list.Count(),
                                           list.Names(), callback, &job);
    return {status, job.files.Files(), job.failure, job.watch.HasLost(true)};
}

/** The dialog of generation 2 names its files itself: they are what it makes of the name given. */
Outcome AcquireByDialog(const Session& session, AcquireOptions record, const Destination& destination)
{
    std::ranges::copy(destination.wideName, record.fileName);
    FileList list;
    const int32_t status = Vorn_WiaAcquireToFile(session.Handle(), nullptr, 0, nullptr, &record, list.Count(),
                                                 list.Names(), nullptr, nullptr);
    return {status, list.Texts(), std::nullopt, false};
}

Outcome AcquireOnce(const Session& session, const std::optional<Item>& item, const Options& options,
                    const Destination& destination, const Delivery& delivery)
{
    AcquireOptions record{};
    record.structSize = sizeof record;
    if (!item && session.Generation() == 2)
        return AcquireByDialog(session, record, destination);
    Job job{{options, destination, delivery}, Progress{options.progress}, {}, std::nullopt};
    std::ranges::copy(ToWide(job.files.Draft().string()), record.fileName);
    return (delivery.memory ? AcquireMemory : AcquireFiles)(session, item ? item->Handle() : nullptr, record,
                                                            job);
}

/** False for a device that cannot tell. */
bool TellsNoPaper(const Session& session)
{
    const Item root = session.Root();
    return (root.Long(kHandlingCapabilities).value_or(0) & kDetectsPaper) != 0 &&
           (root.Long(kHandlingStatus).value_or(kPaperReady) & kPaperReady) == 0;
}

/** False when the time is over, or the person has had enough. A device that cannot tell is asked by a scan, now and then. */
bool AwaitPaper(const Session& session, Clock::time_point end)
{
    constexpr auto kPause = std::chrono::milliseconds{1000}, kGlance = std::chrono::milliseconds{50};
    do {
        const auto next = std::min(Clock::now() + kPause, end);
        for (; Clock::now() < next; std::this_thread::sleep_for(kGlance))
            if (Interrupted())
                return false;
        if (Clock::now() >= end)
            return false;
    } while (TellsNoPaper(session));
    return true;
}

}  // namespace

Outcome Acquire(const Session& session, const std::optional<Item>& item, const Options& options,
                const Destination& destination, const Delivery& delivery)
{
    const auto end = Clock::now() + std::chrono::seconds{options.waitForPaper};
    for (bool waiting = false;; waiting = true) {
        Outcome outcome = AcquireOnce(session, item, options, destination, delivery);
        if (outcome.status != ERR_WIA_PAPER_EMPTY || !outcome.files.empty() || Clock::now() >= end)
            return outcome;
        if (!waiting)
            Say("the feeder is empty; waiting for paper");
        if (!AwaitPaper(session, end))
            return outcome;
    }
}

}  // namespace vornscan
