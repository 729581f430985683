/**
 * @file CallLog.h
 * The platform calls that reached the service, in order, when somebody asks for them.
 *
 * A line is "<object>.<method>" and, after a blank, what matters of the arguments. Objects are `Manager1` and
 * `Manager2`, items by their name (`Root`, `Flatbed`, ...), and `Device <id>` for the property storages that
 * the device enumerator gives. The methods and what follows them:
 *
 *     Manager1.EnumDeviceInfo 16          Manager2.CreateDevice virtual:scanner
 *     Manager1.SelectDeviceDlgID 1 0      (device type, flags)
 *     Manager2.GetImageDlg 4 virtual:camera folder|name
 *     Manager1.Release                    the last reference is gone
 *     Flatbed.Read 4108                   Flatbed.Read Media Type         (an unknown name as it was given)
 *     Flatbed.Write 4108=2                Flatbed.Write 4106={B96B3CAB-0728-11D3-9D7B-0000F81EF32E}
 *     Flatbed.Attributes 6146             Flatbed.CountProperties         Flatbed.EnumProperties
 *     Flatbed.GetItemType                 Flatbed.GetItemCategory         Root.EnumChildItems
 *     Root.GetRootItem                    Root.DeviceDlg 4                Root.Release (the last reference)
 *     Scan.idtGetBandedData 65536 0       (buffer size, double buffer)
 *     Scan.idtGetData 2                   (medium)
 *     Scan.idtEnumWIA_FORMAT_INFO         Flatbed.EnumWIA_FORMAT_INFO
 *     Feeder.Download 0                   (flags)
 *     Feeder.Cancel                       Feeder.ReleaseTransfer          (the last reference on
 * IWiaTransfer)
 */
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "../Export.h"
#include "com.h"

namespace vorn::wia {

/** Records the calls of the whole service, from all threads, as long as it lives. One at a time. */
class VORN_WIA_API ScopedCallLog {
public:
    ScopedCallLog();
    ScopedCallLog(const ScopedCallLog&) = delete;
    ~ScopedCallLog();

    std::vector<std::string> Lines() const;
    /** How many lines begin with `prefix`. */
    size_t Count(std::string_view prefix) const;
    /** Position of the first line that begins with `prefix`; npos when there is none. */
    size_t IndexOf(std::string_view prefix) const;
    void Clear();

    static constexpr size_t npos = static_cast<size_t>(-1);

    void Add(std::string line) noexcept;

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

/** The log in force, or null. */
ScopedCallLog* ActiveCallLog() noexcept;

/** Records a line made by `line()`, which is only called when somebody records. */
template <typename MakeLine>
void LogCall(MakeLine&& line) noexcept
{
    ScopedCallLog* log = ActiveCallLog();
    if (!log)
        return;
    try {
        log->Add(line());
    } catch (...) {
        log->Add({});
    }
}

/** Names as a log prints them: characters outside ASCII become `?`. */
VORN_WIA_API std::string LogText(WStringView text);
VORN_WIA_API std::string LogGuid(REFGUID guid);

}  // namespace vorn::wia
