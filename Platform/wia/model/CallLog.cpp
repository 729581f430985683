#include "CallLog.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace vorn::wia {

namespace {

std::atomic<ScopedCallLog*> activeLog{nullptr};

bool StartsWith(const std::string& line, std::string_view prefix)
{
    return line.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

ScopedCallLog* ActiveCallLog() noexcept
{
    return activeLog.load(std::memory_order_acquire);
}

ScopedCallLog::ScopedCallLog()
{
    activeLog.store(this, std::memory_order_release);
}

ScopedCallLog::~ScopedCallLog()
{
    activeLog.store(nullptr, std::memory_order_release);
}

std::vector<std::string> ScopedCallLog::Lines() const
{
    const std::lock_guard lock{mutex_};
    return lines_;
}

size_t ScopedCallLog::Count(std::string_view prefix) const
{
    const std::lock_guard lock{mutex_};
    return static_cast<size_t>(std::count_if(
        lines_.begin(), lines_.end(), [&](const std::string& line) { return StartsWith(line, prefix); }));
}

size_t ScopedCallLog::IndexOf(std::string_view prefix) const
{
    const std::lock_guard lock{mutex_};
    const auto found = std::find_if(lines_.begin(), lines_.end(),
                                    [&](const std::string& line) { return StartsWith(line, prefix); });
    return found == lines_.end() ? npos : static_cast<size_t>(found - lines_.begin());
}

void ScopedCallLog::Clear()
{
    const std::lock_guard lock{mutex_};
    lines_.clear();
}

void ScopedCallLog::Add(std::string line) noexcept
{
    try {
        const std::lock_guard lock{mutex_};
        lines_.push_back(std::move(line));
    } catch (...) {
        // A line that finds no memory is lost; the call that it tells about goes on.
    }
}

std::string LogText(WStringView text)
{
    std::string ascii;
    for (const WCHAR character : text)
        ascii += character < 0x80 ? static_cast<char>(character) : '?';
    return ascii;
}

std::string LogGuid(REFGUID guid)
{
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned>(guid.Data1), guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1],
                  guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    return text;
}

}  // namespace vorn::wia
