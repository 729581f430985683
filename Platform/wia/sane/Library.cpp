#include "Library.h"

#include <cerrno>
#include <ctime>
#include <mutex>

#include <dlfcn.h>

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
    return Load(library, "sane_init", calls.init) && Load(library, "sane_open", calls.open) &&
           Load(library, "sane_close", calls.close) &&
           Load(library, "sane_get_option_descriptor", calls.describe) &&
           Load(library, "sane_control_option", calls.control) &&
           Load(library, "sane_get_parameters", calls.parameters) &&
           Load(library, "sane_start", calls.start) && Load(library, "sane_read", calls.read) &&
           Load(library, "sane_cancel", calls.cancel) && Load(library, "sane_set_io_mode", calls.setIoMode) &&
           Load(library, "sane_get_select_fd", calls.selectFd);
}

/** Never undone: the process may use SANE elsewhere, and SANE does not count who uses it. */
const SaneCalls* LoadLibrary()
{
    static SaneCalls calls;
    void* library = dlopen("libsane.so.1", RTLD_NOW | RTLD_LOCAL);
    SANE_Int version = 0;
    const bool usable = library && LoadAll(library, calls) &&
                        calls.init(&version, nullptr) == SANE_STATUS_GOOD &&
                        SANE_VERSION_MAJOR(version) == SANE_CURRENT_MAJOR;
    return usable ? &calls : nullptr;
}

std::recursive_mutex& SaneMutex()
{
    static std::recursive_mutex mutex;
    return mutex;
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
    static const SaneCalls* const calls = LoadLibrary();
    return calls;
}

SaneLock::SaneLock() noexcept
{
    SaneMutex().lock();
    sigset_t waiting;
    sigpending(&waiting);
    mayRaise_ = sigismember(&waiting, SIGPIPE) == 0;
    const sigset_t pipe = BrokenPipe();
    pthread_sigmask(SIG_BLOCK, &pipe, &before_);
}

SaneLock::~SaneLock()
{
    const sigset_t pipe = BrokenPipe();
    const timespec now{};
    if (mayRaise_)
        while (sigtimedwait(&pipe, nullptr, &now) < 0 && errno == EINTR) {
        }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    SaneMutex().unlock();
}

}  // namespace vorn::wia
