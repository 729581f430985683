#include "Acquire.h"

#include <algorithm>

#include "Interrupt.h"
#include "MemoryPages.h"
#include "Progress.h"
#include "Vornkrnx.h"

namespace vornscan {
namespace {

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
            if (page && state == TRANSFER_STATE_END && !Interrupted())
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

}  // namespace

Outcome Acquire(const Session& session, const std::optional<Item>& item, const Options& options,
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

}  // namespace vornscan
