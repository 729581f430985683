#include "Library.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <mutex>
#include <string_view>

#include <dlfcn.h>
#include <link.h>

#include "../../include/comobject.h"
#include "../../include/platform.h"

namespace vorn::wia {

namespace {

template <typename Function>
bool Load(void* library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(dlsym(library, name));
    return function != nullptr;
}

bool LoadAll(void* library, SaneCalls& calls)
{
    return Load(library, "sane_init", calls.init) && Load(library, "sane_exit", calls.exit) &&
           Load(library, "sane_open", calls.open) && Load(library, "sane_close", calls.close) &&
           Load(library, "sane_get_option_descriptor", calls.describe) &&
           Load(library, "sane_control_option", calls.control) &&
           Load(library, "sane_get_parameters", calls.parameters) &&
           Load(library, "sane_start", calls.start) && Load(library, "sane_read", calls.read) &&
           Load(library, "sane_cancel", calls.cancel) && Load(library, "sane_set_io_mode", calls.setIoMode) &&
           Load(library, "sane_get_select_fd", calls.selectFd);
}

bool Init(const SaneCalls& calls)
{
    SANE_Int version = 0;
    return calls.init(&version, nullptr) == SANE_STATUS_GOOD &&
           SANE_VERSION_MAJOR(version) == SANE_CURRENT_MAJOR;
}

struct Library {
    SaneCalls calls{};
    bool ours = false;  ///< no one in the process had it before
    bool usable = false;
};

/** What dlopen would tell, without its search for the file. */
bool IsLoaded(const char* library)
{
    return dl_iterate_phdr(
               [](dl_phdr_info* info, size_t, void* name) {
                   return std::string_view{info->dlpi_name}.ends_with(static_cast<const char*>(name)) ? 1 : 0;
               },
               const_cast<char*>(library)) != 0;
}

/** Not undone at the end: the process may use SANE elsewhere, and SANE does not count who uses it. */
Library LoadLibrary()
{
    constexpr auto kName = "libsane.so.1";
    Library loaded;
    loaded.ours = !IsLoaded(kName);
    void* const library = dlopen(kName, RTLD_LAZY | RTLD_LOCAL);
    loaded.usable = library && LoadAll(library, loaded.calls) && Init(loaded.calls);
    return loaded;
}

Library& TheLibrary()
{
    static Library library = LoadLibrary();
    return library;
}

/** Devices may keep a call for so long; one that takes longer is not waited for. */
constexpr auto kPatience = std::chrono::seconds{10};

std::recursive_timed_mutex& SaneMutex()
{
    static std::recursive_timed_mutex mutex;
    return mutex;
}

std::atomic<int>& CallsThatKeep()
{
    static std::atomic<int> calls = 0;
    return calls;
}

sigset_t BrokenPipe() noexcept
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

}  // namespace

const SaneCalls* Sane()
{
    const Library& library = TheLibrary();
    return library.usable ? &library.calls : nullptr;
}

bool RestartSane()
{
    const SaneLock lock;
    Library& library = TheLibrary();
    if (!library.ours || !library.usable)
        return false;
    library.calls.exit();
    library.usable = Init(library.calls);
    return library.usable;
}

NoBrokenPipe::NoBrokenPipe() noexcept
{
    sigset_t waiting;
    sigpending(&waiting);
    mayRaise_ = sigismember(&waiting, SIGPIPE) == 0;
    const sigset_t pipe = BrokenPipe();
    pthread_sigmask(SIG_BLOCK, &pipe, &before_);
}

NoBrokenPipe::~NoBrokenPipe()
{
    const sigset_t pipe = BrokenPipe();
    const timespec now{};
    if (mayRaise_)
        while (sigtimedwait(&pipe, nullptr, &now) < 0 && errno == EINTR) {
        }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

NoSignals::NoSignals() noexcept
{
    sigset_t most;
    sigfillset(&most);
    sigdelset(&most, SIGTERM);  // ends the processes that back ends start, which begin with the thread's mask
    pthread_sigmask(SIG_BLOCK, &most, &before_);
}

NoSignals::~NoSignals()
{
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

void KeepSane() noexcept
{
    ++CallsThatKeep();
}

void ReleaseSane() noexcept
{
    --CallsThatKeep();
}

SaneLock::SaneLock(Signals signals)
{
    if (signals == Signals::Open)
        noBrokenPipe_.emplace();
    // By the clock whose waits the thread sanitizer sees.
    if (!SaneMutex().try_lock_until(std::chrono::system_clock::now() + kPatience))
        throw Failure{WIA_ERROR_BUSY};
    if (CallsThatKeep() > 0) {
        SaneMutex().unlock();
        throw Failure{WIA_ERROR_BUSY};
    }
}

SaneLock::~SaneLock()
{
    SaneMutex().unlock();
}

}  // namespace vorn::wia
