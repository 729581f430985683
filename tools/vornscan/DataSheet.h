// What a device can do and how it is set.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Capabilities.h"
#include "Session.h"
#include "Vocabulary.h"

namespace vornscan {

/** An option of this tool, as it applies to the device now. */
struct OptionLine {
    std::string option;
    std::string values;   ///< what it takes; empty when that is not restricted
    std::string inForce;  ///< empty when the device does not tell
    bool active = false;
    bool writable = false;
};

struct PropertyLine {
    Capability capability;
    Value value;
};

struct ItemSheet {
    std::string name;
    std::vector<PropertyLine> properties;
    std::vector<TransferFormat> formats;
};

struct DataSheet {
    Device device;
    uint32_t generation;
    std::vector<OptionLine> options;  ///< none for a device that is not a scanner
    std::vector<ItemSheet> items;     ///< the device itself first
};

/** `item`: what the options apply to. */
DataSheet ReadDataSheet(const Session& session, const Device& device, const std::optional<Item>& item);

void Print(const DataSheet& sheet);

}  // namespace vornscan
