// Where the pages come from: in generation 1 a setting of the device, in generation 2 an item of its own.
#pragma once

#include <optional>
#include <vector>

#include "Options.h"
#include "Session.h"

namespace vornscan {

/** The sources of the scanner that is open. */
std::vector<Source> Sources(const Session& session);

/** The source that `item` scans from; nothing when it is not told. */
std::optional<Source> SourceOf(const Session& session, const Item& item);

/**
 * Selects a source and gives the item to transfer; nothing leaves the device's own choice.
 * @throws Failure when the device does not have the source
 */
Item ChooseSource(const Session& session, const Device& device, std::optional<Source> source);

}  // namespace vornscan
