/**
 * @file TiffCalls.h
 * What is done by libtiff. It brings seven libraries more, so it is linked by a library of ours that is loaded for the
 * first page that needs it.
 */
#pragma once

#include "PdfPicture.h"
#include "TiffPages.h"

namespace vorn::fil::tiff {

struct Calls {
    decltype(&ReadInfo) readInfo;
    decltype(&Load) load;
    decltype(&WritePage) writePage;
    decltype(&Compressions) compressions;
    decltype(&pdf::WriteFaxData) writeFaxData;
};

/** The function that the library exports; it answers with a `const Calls*`. */
constexpr const char* kCalls = "VornTiffCalls";

}  // namespace vorn::fil::tiff
