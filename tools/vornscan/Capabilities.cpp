#include "Capabilities.h"

#include <algorithm>
#include <cstdlib>

#include "Failure.h"
#include "Text.h"

namespace vornscan {
namespace {

constexpr uint32_t kTypeTime = 0x1012;   // a vector of 16-bit numbers
constexpr uint32_t kTypeBytes = 0x1011;  // a vector of bytes

template <typename Element>
const Element& At(const WiaListValues& list, int32_t index)
{
    return *static_cast<const Element*>(list.items[index]);
}

ValidValues CopyList(const WiaListValues& list, uint32_t type)
{
    const auto copy = [&list](auto element) {
        std::vector<decltype(element(0))> copied;
        copied.reserve(static_cast<size_t>(std::max(0, list.count)));
        for (int32_t i = 0; i < list.count; ++i)
            copied.push_back(element(i));
        return copied;
    };
    if (IsReal(type)) {
        const double* const numbers = reinterpret_cast<const WiaRealListValues&>(list).numbers;
        return copy([&](int32_t i) { return numbers[i]; });
    }
    if (type == WIA_VALUE_TEXT)
        return copy([&](int32_t i) { return ToNarrow(static_cast<const WCHAR*>(list.items[i])); });
    if (type == WIA_VALUE_GUID)
        return copy([&](int32_t i) { return At<GUID>(list, i); });
    return copy([&](int32_t i) { return At<int32_t>(list, i); });
}

ValidValues CopyValues(const WiaCapabilityValues* values, uint32_t type)
{
    if (values && values->rangeValues && IsReal(type)) {
        const auto& range = reinterpret_cast<const WiaRealRangeValues&>(*values->rangeValues);
        return RealRange{range.minimum, range.maximum, range.step};
    }
    if (values && values->rangeValues) {
        const WiaRangeValues& range = *values->rangeValues;
        return Range{range.minimum, range.maximum, range.step};
    }
    if (values && values->flagValues)
        return Flags{values->flagValues->validFlags};
    if (values && values->listValues)
        return CopyList(*values->listValues, type);
    return std::monostate{};
}

Capability CopyCapability(const WiaCapability& capability)
{
    return {capability.propertyId, ToNarrow(capability.propertyName), capability.valueType,
            (capability.accessFlags & WIA_ACCESS_WRITE) != 0,
            CopyValues(capability.values, capability.valueType)};
}

/** @param only  the one that is wanted; null for all */
std::vector<Capability> Capabilities(const Session& session, const Item& item, const uint32_t* only)
{
    struct Wanted {
        const uint32_t* only;
        std::vector<Capability> found;
    } wanted{only, {}};
    const auto collect = [](WiaSession*, uint32_t, const WiaCapability* capability,
                            void* userData) -> int32_t {
        auto* const of = static_cast<Wanted*>(userData);
        try {
            if (capability && (!of->only || *of->only == capability->propertyId))
                of->found.push_back(CopyCapability(*capability));
            return SUCCESS;
        } catch (const std::bad_alloc&) {
            return ERR_ABORTED;
        }
    };
    const int32_t status = Vorn_WiaEnumCapabilities(session.Handle(), item.Handle(), 0, collect, &wanted);
    if (status == ERR_ABORTED)
        throw std::bad_alloc{};
    if (status != SUCCESS)
        throw StatusFailure("reading what the device can do", status);
    return std::move(wanted.found);
}

template <typename Held>
Value AsValue(std::optional<Held> held)
{
    return held ? Value{*std::move(held)} : Value{};
}

int32_t NearestInRange(const Range& range, int32_t wanted)
{
    const int64_t inside = std::clamp<int64_t>(wanted, range.minimum, std::max(range.minimum, range.maximum));
    const int64_t step = std::max(1, range.step);
    const int64_t steps = (inside - range.minimum + step / 2) / step;
    const int64_t most = (int64_t{std::max(range.minimum, range.maximum)} - range.minimum) / step;
    return static_cast<int32_t>(range.minimum + std::min(steps, most) * step);
}

}  // namespace

bool IsReal(uint32_t type)
{
    return type == WIA_VALUE_FLOAT || type == WIA_VALUE_DOUBLE;
}

std::vector<Capability> Capabilities(const Session& session, const Item& item)
{
    return Capabilities(session, item, nullptr);
}

std::optional<Capability> FindCapability(const Session& session, const Item& item, uint32_t id)
{
    std::vector<Capability> found = Capabilities(session, item, &id);
    return found.empty() ? std::nullopt : std::optional{std::move(found.front())};
}

Value ReadValue(const Item& item, const Capability& capability)
{
    switch (capability.type) {
        case WIA_VALUE_TEXT:
            return AsValue(item.Text(capability.id));
        case WIA_VALUE_GUID:
            return AsValue(item.Guid(capability.id));
        case WIA_VALUE_FLOAT:
        case WIA_VALUE_DOUBLE:
            return AsValue(item.Real(capability.id));
        case kTypeTime:
            return AsValue(item.Time(capability.id));
        case kTypeBytes:
            if (const std::optional<uint64_t> count = item.ByteCount(capability.id))
                return Bytes{*count};
            return {};
        default:
            return AsValue(item.Long(capability.id));
    }
}

std::optional<int32_t> Nearest(const ValidValues& values, int32_t wanted)
{
    if (const Range* range = std::get_if<Range>(&values))
        return NearestInRange(*range, wanted);
    const auto* list = std::get_if<std::vector<int32_t>>(&values);
    if (!list || list->empty())
        return std::nullopt;
    const auto distance = [wanted](int32_t value) { return std::llabs(int64_t{value} - wanted); };
    return *std::ranges::min_element(*list, {}, distance);
}

std::vector<TransferFormat> TransferFormats(const Session& session, const Item& item)
{
    std::vector<TransferFormat> formats;
    const auto collect = [](WiaSession*, uint32_t, uint32_t medium, const GUID* format,
                            void* userData) -> int32_t {
        try {
            static_cast<std::vector<TransferFormat>*>(userData)->push_back({medium, *format});
            return SUCCESS;
        } catch (const std::bad_alloc&) {
            return ERR_ABORTED;
        }
    };
    const int32_t status = Vorn_WiaEnumFormats(session.Handle(), item.Handle(), 0, collect, &formats);
    if (status == ERR_ABORTED)
        throw std::bad_alloc{};
    if (status != SUCCESS)
        throw StatusFailure("reading the formats of the device", status);
    return formats;
}

}  // namespace vornscan
