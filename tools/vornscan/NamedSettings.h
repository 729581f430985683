// Settings that a device has under a name of its own.
#pragma once

#include <string>
#include <vector>

#include "Session.h"

namespace vornscan {

/**
 * Sets properties of the item, or of the device, one after the other: what one of them allows the next may need.
 * @param settings  each "name=value"; names in any case, values in the words in which they are shown
 * @throws Failure for a name that cannot be set, and for a value that is not taken; tells what can
 */
void ApplyNamedSettings(const Session& session, const Item& item, const Device& device,
                        const std::vector<std::string>& settings);

}  // namespace vornscan
