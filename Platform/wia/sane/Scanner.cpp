#include "Scanner.h"

#include <algorithm>
#include <map>
#include <thread>
#include <utility>

#include "../../include/comobject.h"
#include "../../include/platform.h"
#include "Statuses.h"

namespace vorn::wia {

namespace {

/** A scanner that says it is busy, as while its lamp moves home, is asked again for so long. */
constexpr auto kBusyPatience = std::chrono::seconds{15};
constexpr auto kBetweenAsking = std::chrono::milliseconds{100};

/** Another thread may keep the scanner for so long. */
constexpr auto kUsePatience = std::chrono::seconds{10};

template <typename Call>
SANE_Status WhileBusy(Call&& call)
{
    const auto end = process::Clock::now() + kBusyPatience;
    for (;;) {
        const SANE_Status status = call();
        if (status != SANE_STATUS_DEVICE_BUSY || process::Clock::now() >= end)
            return status;
        std::this_thread::sleep_for(kBetweenAsking);
    }
}

/** The scanners of this process, open or about to be. */
std::shared_ptr<Scanner> Shared(const std::string& name)
{
    static std::mutex mutex;
    static std::map<std::string, std::weak_ptr<Scanner>> scanners;
    const std::scoped_lock lock{mutex};
    std::erase_if(scanners, [](const auto& entry) { return entry.second.expired(); });
    auto& known = scanners[name];
    auto scanner = known.lock();
    if (!scanner)
        known = scanner = std::make_shared<Scanner>(name);
    return scanner;
}

}  // namespace

std::shared_ptr<Scanner> Scanner::Open(const std::string& name)
{
    auto scanner = Shared(name);
    const Use use{*scanner};
    scanner->OpenIfLost();
    return scanner;
}

/** By the clock whose waits the thread sanitizer sees. */
Scanner::Use::Use(Scanner& scanner) : scanner_{scanner}
{
    if (scanner.mutex_.try_lock())
        return;
    if (scanner.scanning_ || !scanner.mutex_.try_lock_until(std::chrono::system_clock::now() + kUsePatience))
        throw Failure{WIA_ERROR_BUSY};
}

void Scanner::OpenIfLost()
{
    if (host_ && !scanning_ && !host_->Settle())
        Lose();
    if (host_)
        return;
    auto host = std::make_unique<DriverHost>();
    const SANE_Status status = WhileBusy([&] { return host->Open(name_, options_); });
    if (status != SANE_STATUS_GOOD)
        throw Failure{status == SANE_STATUS_INVAL ? WIA_S_NO_DEVICE_AVAILABLE : ResultOf(status)};
    host_ = std::move(host);
    owner = nullptr;
    batch_ = scanning_ = false;
    ++changes_;
}

void Scanner::Lose() noexcept
{
    if (host_)
        host_->Kill();
    host_.reset();
    batch_ = scanning_ = false;
}

/** For each use of the host: one that fails has ended the host, or leaves an answer that nobody has read whole. */
template <typename Call>
auto Scanner::WithHost(Call&& call)
try {
    if (!host_)
        throw Failure{WIA_ERROR_DEVICE_COMMUNICATION};
    return call(*host_);
} catch (...) {
    Lose();
    throw;
}

/** After an error of the connection a back end may never find back to the device. */
SANE_Status Scanner::Noted(SANE_Status status) noexcept
{
    if (status == SANE_STATUS_IO_ERROR)
        Lose();
    return status;
}

SaneOption* Scanner::Find(std::string_view name) noexcept
{
    for (SaneOption& option : options_) {
        if (option.name == name)
            return &option;
    }
    return nullptr;
}

void Scanner::Refresh(SaneOption& option)
{
    if (!scanning_)
        option.value = WithHost([&](DriverHost& host) { return host.Get(option.index); });
}

/** In place, so that an option stays where it is as long as the device has as many. */
void Scanner::Take(DriverHost::Change change)
{
    if (change.all && change.options.size() != options_.size()) {
        options_ = std::move(change.options);
        return;
    }
    auto option = options_.begin();
    for (SaneOption& fresh : change.options) {
        if (!change.all)
            option = std::find_if(options_.begin(), options_.end(),
                                  [&](const SaneOption& each) { return each.index == fresh.index; });
        if (option == options_.end())
            return;
        *option++ = std::move(fresh);
    }
}

void Scanner::Control(SANE_Int index, const std::optional<RawValue>& value)
{
    if (scanning_)
        throw Failure{WIA_ERROR_BUSY};
    batch_ = false;  // the host cancels before it sets
    ++changes_;
    const SANE_Status status = WhileBusy([&] {
        return WithHost([&](DriverHost& host) {
            DriverHost::Change change;
            const SANE_Status answer = host.Set(index, value, change);
            Take(std::move(change));
            return answer;
        });
    });
    if (Noted(status) != SANE_STATUS_GOOD)
        throw Failure{status == SANE_STATUS_INVAL ? E_INVALIDARG : ResultOf(status)};
}

void Scanner::Set(SaneOption& option, RawValue value)
{
    const auto size = static_cast<size_t>(option.size);
    if (option.type != SANE_TYPE_STRING && value.size() != size)
        throw Failure{E_INVALIDARG};
    value.resize(size);
    Control(option.index, value);
}

void Scanner::Press(SaneOption& button)
{
    Control(button.index, std::nullopt);
}

SANE_Parameters Scanner::Parameters()
{
    if (scanning_ || !host_)
        return parameters_;
    SANE_Parameters parameters{};
    const SANE_Status status = WithHost([&](DriverHost& host) { return host.Parameters(parameters); });
    return status == SANE_STATUS_GOOD ? parameters : SANE_Parameters{};
}

void Scanner::Start()
{
    batch_ = scanning_ = true;
    WithHost([](DriverHost& host) { host.Start(); });
}

std::optional<SANE_Status> Scanner::AwaitStarted(Milliseconds moment)
{
    const auto status = WithHost([&](DriverHost& host) { return host.AwaitStarted(moment, parameters_); });
    if (status && *status != SANE_STATUS_GOOD)
        scanning_ = false;
    return status ? std::optional{Noted(*status)} : status;
}

void Scanner::Read()
{
    WithHost([&](DriverHost& host) { host.Read(static_cast<size_t>(parameters_.bytes_per_line)); });
}

DriverHost::Lines Scanner::AwaitLines(Milliseconds moment)
{
    const DriverHost::Lines lines = WithHost([&](DriverHost& host) { return host.AwaitLines(moment); });
    if (lines.ended)
        Noted(*lines.ended);
    return lines;
}

void Scanner::EndBatch() noexcept
try {
    const Use use{*this};
    scanning_ = false;
    if (std::exchange(batch_, false))
        WithHost([](DriverHost& host) { host.Cancel(); });
} catch (const std::exception&) {
    Lose();
} catch (const Failure&) {
    // The host has gone, and the batch with it; or another thread has the scanner, and ends it by what it does next.
}

void Scanner::EndBatchOf(const void* client) noexcept
try {
    const Use use{*this};
    if ((!client || owner == client) && !IsScanning())
        EndBatch();
} catch (const Failure&) {
    // Another thread scans: the batch is not this client's.
}

}  // namespace vorn::wia
