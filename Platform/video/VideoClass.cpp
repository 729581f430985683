// The video object's class, known to every program; the library behind it is loaded when the first object is asked
// for, so that nobody else pays for its start.
#include <dlfcn.h>

#include "VideoLibrary.h"
#include "ole/ClassTable.h"

namespace vorn::video {
namespace {

MakeVideoClassFunction LoadMaker()
{
    void* library = dlopen("libvornvideo.so." VORN_SOVERSION, RTLD_NOW | RTLD_LOCAL);
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
