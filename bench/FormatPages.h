/**
 * @file FormatPages.h
 * The pages that are saved and loaded as files: A4 at 600 dpi, 24 bits unless said otherwise.
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
/** A photo with soft shades and grain, and text below. */
const FormatPage& PhotoPage();
/** The clean one with 8 bits and with 1. */
const FormatPage& GreyPage();
const FormatPage& BlackAndWhitePage();

}  // namespace vorn::bench
