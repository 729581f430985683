// The properties of an item: what they are, what may be written to them, and what they hold.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Session.h"

namespace vornscan {

struct Range {
    int32_t minimum, maximum, step;
};

/** A range of numbers with a fraction. */
struct RealRange {
    double minimum, maximum, step;
};

/** Any combination of these bits. */
struct Flags {
    uint32_t valid;
};

using ValidValues = std::variant<std::monostate, Range, RealRange, Flags, std::vector<int32_t>,
                                 std::vector<double>, std::vector<std::string>, std::vector<GUID>>;

struct Capability {
    uint32_t id;
    std::string name;
    uint32_t type;  ///< the platform's VARTYPE
    bool writable;
    ValidValues values;  ///< nothing when they are not restricted
};

/** True for numbers with a fraction. */
bool IsReal(uint32_t type);

/** @throws Failure when the device does not tell */
std::vector<Capability> Capabilities(const Session& session, const Item& item);
std::optional<Capability> FindCapability(const Session& session, const Item& item, uint32_t id);

struct Bytes {
    uint64_t count;
};

/** What a property holds; nothing when it cannot be read. */
using Value = std::variant<std::monostate, int32_t, double, std::string, GUID, SYSTEMTIME, Bytes>;

Value ReadValue(const Item& item, const Capability& capability);

/** The valid number that is nearest to `wanted`; nothing when the valid values are not whole numbers. */
std::optional<int32_t> Nearest(const ValidValues& values, int32_t wanted);

/** A pair of medium (a WIA_MEDIUM_ value) and format that an item transfers. */
struct TransferFormat {
    uint32_t medium;
    GUID format;
};

std::vector<TransferFormat> TransferFormats(const Session& session, const Item& item);

}  // namespace vornscan
