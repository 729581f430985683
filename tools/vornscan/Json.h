// What the tool has to say, for programs: JSON on standard output.
#pragma once

#include <optional>
#include <vector>

#include "Acquire.h"
#include "DataSheet.h"
#include "Session.h"

namespace vornscan {

void PrintJson(const std::vector<Device>& devices);
void PrintJson(const DataSheet& sheet);
/** The pages that are there, with what their files say of them, and the error that ended the acquisition. */
void PrintJson(const Outcome& outcome, const Device& device, const std::optional<Failure>& failure);

}  // namespace vornscan
