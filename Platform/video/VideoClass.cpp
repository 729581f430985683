// The video object's class, known to every program; the library behind it is loaded when the first object is asked
// for, so that nobody else pays for its start.
#include <dlfcn.h>

#include <string>

#include "VideoLibrary.h"
#include "ole/ClassTable.h"

namespace vorn::video {
namespace {

MakeVideoClassFunction LoadMaker()
{
    // It lies beside the library that this is part of.
    Dl_info here{};
    if (dladdr(reinterpret_cast<const void*>(&LoadMaker), &here) == 0 || !here.dli_fname)
        return nullptr;
    const std::string path = here.dli_fname;
    void* library = dlopen((path.substr(0, path.rfind('/') + 1) + "libvornvideo.so." VORN_SOVERSION).c_str(),
                           RTLD_NOW | RTLD_LOCAL);
    return library ? reinterpret_cast<MakeVideoClassFunction>(dlsym(library, kMakeVideoClass)) : nullptr;
}

HRESULT MakeVideoClass(REFIID iid, void** object)
{
    static const MakeVideoClassFunction make = LoadMaker();
    return make ? make(iid, object) : REGDB_E_CLASSNOTREG;
}

const bool builtIn = [] {
    ole::RegisterBuiltInClass(CLSID_WiaVideo, MakeVideoClass);
    return true;
}();

}  // namespace
}  // namespace vorn::video
