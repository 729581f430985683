/**
 * @file Sibling.h
 * Libraries of this system that are loaded when they are first needed, so that nobody else pays for their start.
 */
#pragma once

#include <dlfcn.h>
#include <limits.h>

#include <atomic>
#include <cstdio>
#include <string_view>

namespace vorn {

/**
 * A function with C linkage of a library that lies beside another one, and stays loaded. A failed look-up, for example
 * without memory, is repeated by the next call.
 */
template <typename Function>
class SiblingFunction {
public:
    constexpr SiblingFunction(const char* library, const char* name) noexcept : library_{library}, name_{name}
    {
    }

    /**
     * @param inOther  an address in the library beside it: the caller's own, as a rule
     * @return null when there is no such library, or it cannot be loaded
     */
    Function* In(const void* inOther) noexcept
    {
        void* function = function_.load(std::memory_order_acquire);
        if (!function) {
            function = Load(inOther);
            function_.store(function, std::memory_order_release);
        }
        return reinterpret_cast<Function*>(function);
    }

private:
    void* Load(const void* inOther) const noexcept
    {
        Dl_info other{};
        if (dladdr(inOther, &other) == 0 || !other.dli_fname)
            return nullptr;
        const std::string_view file = other.dli_fname;
        const auto folderLength = static_cast<int>(file.rfind('/') + 1);
        char path[PATH_MAX];
        const int length = std::snprintf(path, sizeof path, "%.*s%s", folderLength, file.data(), library_);
        if (length < 0 || static_cast<size_t>(length) >= sizeof path)
            return nullptr;
        void* const loaded = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        return loaded ? dlsym(loaded, name_) : nullptr;
    }

    const char* library_;
    const char* name_;
    std::atomic<void*> function_{nullptr};
};

}  // namespace vorn
