// The video object's class, known to every program; the library behind it is loaded when the first object is asked
// for, so that nobody else pays for its start.
#include <type_traits>

#include "Sibling.h"
#include "VideoLibrary.h"
#include "ole/ClassTable.h"

namespace vorn::video {
namespace {

HRESULT MakeVideoClass(REFIID iid, void** object)
{
    static constinit SiblingFunction<std::remove_pointer_t<MakeVideoClassFunction>> function{
        "libvornvideo.so." VORN_SOVERSION, kMakeVideoClass};
    const MakeVideoClassFunction make = function.In(reinterpret_cast<const void*>(&MakeVideoClass));
    return make ? make(iid, object) : REGDB_E_CLASSNOTREG;
}

const bool builtIn = [] {
    ole::RegisterBuiltInClass(CLSID_WiaVideo, MakeVideoClass);
    return true;
}();

}  // namespace
}  // namespace vorn::video
