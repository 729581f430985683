/*
 * What the library exports.
 */
#include "JpegPngCalls.h"

extern "C" [[gnu::visibility("default")]] const vorn::fil::JpegPngCalls* VornJpegPngCalls()
{
    using namespace vorn::fil;
    static constexpr JpegPngCalls kCalls{MakeJpegFile, MakePngFile, jpeg::Load, png::ReadInfo, png::Load};
    return &kCalls;
}
