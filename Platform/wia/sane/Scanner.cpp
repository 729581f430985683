#include "Scanner.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <thread>
#include <utility>

#include <poll.h>

#include "../../include/comobject.h"
#include "BoundedCall.h"
#include "Busy.h"
#include "OpenDevice.h"
#include "Statuses.h"

namespace vorn::wia {

namespace {

/** The scanners that are open in this process, by name. */
std::map<std::string, std::weak_ptr<Scanner>>& OpenScanners()
{
    static std::map<std::string, std::weak_ptr<Scanner>> scanners;
    return scanners;
}

/** Stands for an option while its device is closed. */
constexpr SANE_Option_Descriptor kNoOption{
    "", "", "", SANE_TYPE_GROUP, SANE_UNIT_NONE, 0, SANE_CAP_INACTIVE, SANE_CONSTRAINT_NONE, {nullptr}};

}  // namespace

SANE_Word SaneOption::Word() const noexcept
{
    SANE_Word word = 0;
    if (value.size() >= sizeof word)
        std::memcpy(&word, value.data(), sizeof word);
    return word;
}

double SaneOption::Number() const noexcept
{
    return descriptor->type == SANE_TYPE_FIXED ? SANE_UNFIX(Word()) : Word();
}

std::string SaneOption::Text() const
{
    const auto* text = reinterpret_cast<const char*>(value.data());
    return value.empty() ? std::string{} : std::string{text, strnlen(text, value.size())};
}

std::shared_ptr<Scanner> Scanner::Open(const std::string& name)
{
    const SaneLock lock;
    std::weak_ptr<Scanner>& known = OpenScanners()[name];
    auto scanner = known.lock();
    if (scanner)
        scanner->RenewIfLost();
    else
        known = scanner = std::make_shared<Scanner>(name);
    return scanner;
}

Scanner::Scanner(std::string name) : name_{std::move(name)}
{
    OpenHandle();
}

/** What a back end knows of a host that has gone is forgotten only with all that SANE knows. */
void Scanner::OpenHandle()
{
    if (!Sane())
        throw Failure{WIA_S_NO_DEVICE_AVAILABLE};
    try {
        handle_ = OpenDevice(name_);
    } catch (const Failure& failure) {
        if (failure.result != WIA_ERROR_DEVICE_COMMUNICATION || !CloseLost() || !RestartSane())
            throw;
        handle_ = OpenDevice(name_);
    }
    try {
        Reload();
    } catch (...) {
        Close();  // a constructor that throws has no destructor, and the device would stay busy
        throw;
    }
    ++changes_;
    lost_ = false;
}

/** @return true when no scanner is open any more */
bool Scanner::CloseLost() noexcept
{
    bool all = true;
    for (const auto& [name, known] : OpenScanners()) {
        const auto scanner = known.lock();
        if (scanner && scanner->lost_ && !scanner->IsScanning())
            scanner->Close();
        all = all && (!scanner || !scanner->handle_);
    }
    return all;
}

Scanner::~Scanner()
{
    EndBatch();
    Close();
}

void Scanner::Close() noexcept
try {
    const SaneLock lock;
    for (SaneOption& option : options_)
        option = {option.index, &kNoOption, {}};
    if (handle_)
        Sane()->close(std::exchange(handle_, nullptr));
} catch (const Failure&) {
    // Another device keeps SANE from everybody; this one stays open.
}

void Scanner::RenewIfLost()
{
    const SaneLock lock;
    if (!lost_ || IsScanning())
        return;
    EndBatch();
    Close();
    owner = nullptr;
    OpenHandle();
}

SaneOption* Scanner::Find(std::string_view name) noexcept
{
    for (SaneOption& option : options_) {
        if (option.Name() == name)
            return &option;
    }
    return nullptr;
}

void Scanner::Refresh(SaneOption& option)
{
    const SaneLock lock;
    Fetch(option);
}

void Scanner::Fetch(SaneOption& option)
{
    option.value.clear();
    if (!option.CanBeRead())
        return;
    RawValue value(static_cast<size_t>(option.descriptor->size));
    if (Sane()->control(handle_, option.index, SANE_ACTION_GET_VALUE, value.data(), nullptr) ==
        SANE_STATUS_GOOD)
        option.value = std::move(value);
}

/** The first option only tells how many there are. Groups are there for show. */
void Scanner::Reload()
{
    SANE_Int count = 0;
    Sane()->describe(handle_, 0);  // options across a network have no values before they are described anew
    Sane()->control(handle_, 0, SANE_ACTION_GET_VALUE, &count, nullptr);
    std::vector<SaneOption> options;
    for (SANE_Int i = 1; i < count; ++i) {
        const SANE_Option_Descriptor* descriptor = Sane()->describe(handle_, i);
        if (!descriptor || descriptor->type == SANE_TYPE_GROUP)
            continue;
        options.push_back({i, descriptor, {}});
        Fetch(options.back());
    }
    // In place, so that an option stays where it is as long as the device has as many.
    if (options.size() == options_.size())
        std::move(options.begin(), options.end(), options_.begin());
    else
        options_ = std::move(options);
}

void Scanner::Control(SaneOption& option, SANE_Action action, void* value)
{
    if (scanning_)
        throw Failure{WIA_ERROR_BUSY};
    if (!handle_)
        throw Failure{WIA_ERROR_DEVICE_COMMUNICATION};
    EndBatch();
    ++changes_;
    SANE_Int info = 0;
    const SANE_Int index = option.index;
    const SANE_Status status =
        Noted(WhileBusy([&] { return Sane()->control(handle_, index, action, value, &info); }));
    if (info & SANE_INFO_RELOAD_OPTIONS)
        Reload();
    else
        Fetch(option);
    if (status != SANE_STATUS_GOOD)
        throw Failure{status == SANE_STATUS_INVAL ? E_INVALIDARG : ResultOf(status)};
}

void Scanner::Set(SaneOption& option, RawValue value)
{
    const SaneLock lock;
    const auto size = static_cast<size_t>(option.descriptor->size);
    if (option.descriptor->type != SANE_TYPE_STRING && value.size() != size)
        throw Failure{E_INVALIDARG};
    value.resize(size);
    Control(option, SANE_ACTION_SET_VALUE, value.data());
}

void Scanner::Press(SaneOption& button)
{
    const SaneLock lock;
    Control(button, SANE_ACTION_SET_VALUE, nullptr);
}

bool Scanner::Parameters(SANE_Parameters& parameters)
{
    const SaneLock lock;
    parameters = {};
    return Sane()->parameters(handle_, &parameters) == SANE_STATUS_GOOD;
}

SANE_Status Scanner::Noted(SANE_Status status) noexcept
{
    if (status == SANE_STATUS_IO_ERROR)
        Lose();
    return status;
}

/** For the calls that may last. */
template <typename Call>
SANE_Status Scanner::WithDevice(Call&& call)
{
    const SaneLock lock{SaneLock::Signals::Blocked};
    ++inDevice_;
    const SANE_Status status = call();
    --inDevice_;
    return Noted(status);
}

SANE_Status Scanner::Start()
{
    const SaneLock lock;
    if (!handle_)
        return SANE_STATUS_IO_ERROR;
    dataFd_ = -1;
    batch_ = true;  // some devices want to be told the end also of a start that failed
    const SANE_Status status = WithDevice([this] { return Sane()->start(handle_); });
    if (status != SANE_STATUS_GOOD)
        return status;
    batch_ = scanning_ = true;  // also when the start was interrupted in vain
    Sane()->setIoMode(handle_, SANE_FALSE);
    SANE_Int descriptor = -1;
    if (Sane()->selectFd(handle_, &descriptor) == SANE_STATUS_GOOD)
        dataFd_ = descriptor;
    return status;
}

void Scanner::Interrupt() noexcept
{
    const NoBrokenPipe noBrokenPipe;
    if (!inDevice_ || !batch_.exchange(false))
        return;
    ++inDevice_;
    Sane()->cancel(handle_);
    scanning_ = false;
    --inDevice_;
}

bool Scanner::AwaitData(std::chrono::milliseconds moment) const noexcept
{
    pollfd waiting{dataFd_, POLLIN, 0};
    return dataFd_ < 0 || poll(&waiting, 1, static_cast<int>(moment.count())) > 0;
}

bool Scanner::HasHungUp() const noexcept
{
    pollfd state{dataFd_, POLLIN, 0};
    return dataFd_ >= 0 && poll(&state, 1, 0) > 0 && (state.revents & (POLLHUP | POLLERR)) != 0;
}

SANE_Status Scanner::Read(uint8_t* data, SANE_Int capacity, SANE_Int& length)
{
    length = 0;
    return WithDevice(
        [&] { return batch_ ? Sane()->read(handle_, data, capacity, &length) : SANE_STATUS_CANCELLED; });
}

void Scanner::EndBatch() noexcept
try {
    if (inDevice_)
        return;
    if (scanning_)
        std::this_thread::sleep_for(kToComeToRest);
    const SaneLock lock;
    if (batch_.exchange(false))
        Cancel();
    scanning_ = false;
    dataFd_ = -1;
} catch (const Failure&) {
    // As above.
}

void Scanner::Cancel() noexcept
try {
    constexpr auto kPatience = std::chrono::seconds{5};  // a carriage that goes home takes its time
    if (!MayTakeForever(name_))
        Sane()->cancel(handle_);
    else if (!CallWithin(
                 kPatience, [handle = handle_] { Sane()->cancel(handle); }, [] {}))
        Lose();
} catch (const std::exception&) {  // no thread
    Sane()->cancel(handle_);
}

}  // namespace vorn::wia
