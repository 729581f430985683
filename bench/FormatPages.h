/**
 * @file FormatPages.h
 * The pages that are saved and loaded as files: A4 at 600 dpi, 24 bits.
 */
#pragma once

#include "Vornkrnx.h"

namespace vorn::bench {

struct FormatPage {
    const char* name;
    BitmapHandle bitmap;
};

/** A picture of a noisy scan, a clean one, and an empty sheet. */
const FormatPage& NoisyPage();
const FormatPage& CleanPage();
const FormatPage& FlatPage();

}  // namespace vorn::bench
