// Live video of a camera, and pictures taken from it.
#pragma once

#include "Options.h"

namespace vornscan {

/** @throws Failure when there is no such video, or a picture cannot be had or saved */
void ShowVideo(const Options& options);

}  // namespace vornscan
