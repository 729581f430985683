/**
 * @file JpegPngCalls.h
 * What is done by libjpeg and libpng. They are linked by a library of ours that is loaded for the first page that needs
 * them, so that a program that has none starts sooner.
 */
#pragma once

#include "JpegPages.h"
#include "PngPages.h"

namespace vorn::fil {

struct JpegPngCalls {
    decltype(&MakeJpegFile) makeJpegFile;
    decltype(&MakePngFile) makePngFile;
    decltype(&jpeg::Load) loadJpeg;
    decltype(&png::ReadInfo) readPngInfo;
    decltype(&png::Load) loadPng;
};

/** The function that the library exports; it answers with a `const JpegPngCalls*`. */
constexpr const char* kJpegPngCalls = "VornJpegPngCalls";

}  // namespace vorn::fil
