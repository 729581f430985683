#include "Acquire.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "Interrupt.h"
#include "MemoryPages.h"
#include "Progress.h"
#include "PropertyIds.h"
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

AcquireOptions LibraryOptions(const Options& options, const Destination& destination)
{
    AcquireOptions record{};
    record.structSize = sizeof record;
    record.overwriteFile = options.overwrite;
    record.multiPageFile = destination.oneFile && !options.append;
    record.appendToFile = options.append;
    std::ranges::copy(destination.wideName, record.fileName);
    return record;
}

Outcome AcquireFiles(const Session& session, WiaItemHandle item, const AcquireOptions& record,
                     Progress& progress)
{
    const auto callback = [](WiaSession*, const WCHAR*, int32_t percent, int32_t state,
                             void* userData) -> int32_t {
        static_cast<Progress*>(userData)->Show(percent, state);
        return Interrupted() ? ERR_ABORTED : SUCCESS;
    };
    FileList list;
    const int32_t status = Vorn_WiaAcquireToFile(session.Handle(), nullptr, 0, item, &record, list.Count(),
                                                 list.Names(), callback, &progress);
    return {status, list.Texts(), std::nullopt};
}

/** What the callback of a memory acquisition works on. */
struct MemoryJob {
    MemoryPages pages;
    Progress& progress;
    std::optional<Failure> failure;

    int32_t Hear(BitmapHandle* page, int32_t percent, int32_t state) noexcept
    {
        try {
            if (page && page->image && state == TRANSFER_STATE_END && !Interrupted())  // or no page came
                pages.Save(*page);
            progress.Show(page ? 0 : percent, state);
        } catch (const Failure& reason) {
            failure = reason;
        } catch (const std::exception& reason) {
            failure = Failure{ExitCode::InputOutput, reason.what()};
        }
        return failure || Interrupted() ? ERR_ABORTED : SUCCESS;
    }
};

Outcome AcquireMemory(const Session& session, WiaItemHandle item, const AcquireOptions& record, MemoryJob job)
{
    const auto callback = [](WiaSession*, BitmapHandle* page, const WCHAR*, int32_t percent, int32_t state,
                             void* userData) -> int32_t {
        return static_cast<MemoryJob*>(userData)->Hear(page, percent, state);
    };
    FileList list;
    const int32_t status = Vorn_WiaAcquire(session.Handle(), nullptr, 0, item, &record, list.Count(),
                                           list.Names(), callback, &job);
    return {status, job.pages.Files(), job.failure};
}

Outcome AcquireOnce(const Session& session, const std::optional<Item>& item, const Options& options,
                    const Destination& destination, bool memory)
{
    Progress progress{options.progress};
    const AcquireOptions record = LibraryOptions(options, destination);
    WiaItemHandle handle = item ? item->Handle() : nullptr;
    if (memory)
        return AcquireMemory(session, handle, record,
                             {MemoryPages{options, destination}, progress, std::nullopt});
    return AcquireFiles(session, handle, record, progress);
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
                const Destination& destination, bool memory)
{
    const auto end = Clock::now() + std::chrono::seconds{options.waitForPaper};
    for (bool waiting = false;; waiting = true) {
        Outcome outcome = AcquireOnce(session, item, options, destination, memory);
        if (outcome.status != ERR_WIA_PAPER_EMPTY || !outcome.files.empty() || Clock::now() >= end)
            return outcome;
        if (!waiting)
            Say("the feeder is empty; waiting for paper");
        if (!AwaitPaper(session, end))
            return outcome;
    }
}

}  // namespace vornscan
