#include "Library.h"

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

}  // namespace

const SaneCalls* Sane()
{
    static const SaneCalls* const calls = LoadLibrary();
    return calls;
}

std::recursive_mutex& SaneMutex()
{
    static std::recursive_mutex mutex;
    return mutex;
}

}  // namespace vorn::wia
