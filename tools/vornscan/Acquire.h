// Runs the acquisition.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Destination.h"
#include "Failure.h"
#include "Options.h"
#include "PageFiles.h"
#include "Session.h"

namespace vornscan {

/** What came of an acquisition; finished pages are there also after a failure. */
struct Outcome {
    int32_t status;
    std::vector<std::string> files;  ///< one name a page, in the order of writing; may repeat
    std::optional<Failure> failure;  ///< the tool's own reason for having stopped
    bool lost = false;               ///< a page began and never arrived
};

/** Acquires from `item`, or from what the platform's dialog offers when there is none. */
Outcome Acquire(const Session& session, const std::optional<Item>& item, const Options& options,
                const Destination& destination, const Delivery& delivery);

}  // namespace vornscan
