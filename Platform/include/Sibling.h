/**
 * @file Sibling.h
 * Libraries of this system that are loaded when they are first needed, so that nobody else pays for their start.
 */
#pragma once

#include <dlfcn.h>

#include <string>

namespace vorn {

/**
 * A function of a library that lies beside another one, and stays loaded.
 *
 * @param inOther   an address in that other library: the caller's own, as a rule
 * @param library   the name of the file
 * @param function  a function with C linkage
 * @return null when there is no such library, or it cannot be loaded
 */
inline void* LoadFromSibling(const void* inOther, const char* library, const char* function)
{
    Dl_info other{};
    if (dladdr(inOther, &other) == 0 || !other.dli_fname)
        return nullptr;
    const std::string path = other.dli_fname;
    void* const loaded =
        dlopen((path.substr(0, path.rfind('/') + 1) + library).c_str(), RTLD_NOW | RTLD_LOCAL);
    return loaded ? dlsym(loaded, function) : nullptr;
}

/** A table of functions, by a function that the other library exports for it; null as above. */
template <typename Calls>
const Calls* LoadCalls(const void* inOther, const char* library, const char* function)
{
    const auto get = reinterpret_cast<const Calls* (*)()>(LoadFromSibling(inOther, library, function));
    return get ? get() : nullptr;
}

}  // namespace vorn
