/*
 * What the library exports.
 */
#include "TiffCalls.h"

extern "C" [[gnu::visibility("default")]] const vorn::fil::tiff::Calls* VornTiffCalls()
{
    using namespace vorn::fil;
    static constexpr tiff::Calls kCalls{tiff::ReadInfo, tiff::Load, tiff::WritePage, tiff::Compressions,
                                        pdf::WriteFaxData};
    return &kCalls;
}
