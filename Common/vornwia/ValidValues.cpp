#include "ValidValues.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace vorn {
namespace {

/** The elements of a vector; a single value is one element. */
struct Elements {
    VARTYPE type;  ///< of one element
    bool single;
    ULONG count;
    const void* data;
};

Elements ElementsOf(const PROPVARIANT& value)
{
    const auto type = static_cast<VARTYPE>(value.vt & ~VT_VECTOR);
    if (value.vt & VT_VECTOR)  // all counted arrays have one layout
        return {type, false, value.caub.pElems ? value.caub.cElems : 0, value.caub.pElems};
    const void* data = type == VT_CLSID ? static_cast<const void*>(value.puuid) : &value.bVal;
    return {type, true, data ? 1u : 0u, data};
}

template <typename Element>
Element ElementAt(const void* data, ULONG index)
{
    Element element;
    std::memcpy(&element, static_cast<const uint8_t*>(data) + size_t{index} * sizeof(Element),
                sizeof(Element));
    return element;
}

/** An element as a 32-bit number, the nearest there is. Floats are rounded like single properties. */
template <typename Element>
int32_t NumberAt(const void* data, ULONG index)
{
    const auto element = ElementAt<Element>(data, index);
    using Limits = std::numeric_limits<int32_t>;
    if constexpr (std::is_floating_point_v<Element>) {
        const double number = std::trunc(double{element} + 0.5);
        return std::isnan(number)
                   ? 0
                   : static_cast<int32_t>(std::clamp<double>(number, Limits::min(), Limits::max()));
    } else if constexpr (std::is_same_v<Element, uint64_t>) {
        return static_cast<int32_t>(std::min<uint64_t>(element, Limits::max()));
    } else {
        return static_cast<int32_t>(std::clamp<int64_t>(element, Limits::min(), Limits::max()));
    }
}

/** The element types that are numbers. Unsigned 32-bit ones keep their bits. */
constexpr struct NumberType {
    VARTYPE type;
    int32_t (*at)(const void* data, ULONG index);
} kNumberTypes[] = {
    {VT_I4, NumberAt<int32_t>},   {VT_UI4, NumberAt<int32_t>},  {VT_INT, NumberAt<int32_t>},
    {VT_UINT, NumberAt<int32_t>}, {VT_I1, NumberAt<int8_t>},    {VT_UI1, NumberAt<uint8_t>},
    {VT_I2, NumberAt<int16_t>},   {VT_UI2, NumberAt<uint16_t>}, {VT_BOOL, NumberAt<int16_t>},
    {VT_I8, NumberAt<int64_t>},   {VT_UI8, NumberAt<uint64_t>}, {VT_R4, NumberAt<float>},
    {VT_R8, NumberAt<double>},
};

const NumberType* FindNumberType(VARTYPE type)
{
    for (const NumberType& row : kNumberTypes) {
        if (row.type == type)
            return &row;
    }
    return nullptr;
}

/** Elements read as 32-bit numbers; 0 where there is none. */
class Numbers {
public:
    explicit Numbers(const Elements& elements) : elements_{elements}, type_{FindNumberType(elements.type)} {}

    int32_t operator[](ULONG index) const
    {
        return type_ && index < elements_.count ? type_->at(elements_.data, index) : 0;
    }

private:
    const Elements& elements_;
    const NumberType* type_;
};

// ---- Lists -------------------------------------------------------------------------------------------------

/** The part of a vector that a list delivers. */
struct Extent {
    ULONG first, count;
};

Extent From(ULONG first, const Elements& elements)
{
    return {first, elements.count > first ? elements.count - first : 0};
}

/** The platform's convention: the values follow their count and the nominal value. */
constexpr ULONG kFirstListed = WIA_LIST_VALUES;

/** A text on its own is the list of that text. */
Extent TextExtent(const Elements& texts, uint32_t)
{
    return From(texts.count == 1 ? 0 : kFirstListed, texts);
}

/** Formats follow the convention; other GUIDs are listed from the start. */
Extent GuidExtent(const Elements& guids, uint32_t propertyId)
{
    return From(propertyId == WIA_IPA_FORMAT && !guids.single ? kFirstListed : 0, guids);
}

Extent NumberExtent(const Elements& numbers, uint32_t)
{
    if (numbers.single)
        return {0, FindNumberType(numbers.type) ? 1u : 0u};
    Extent extent = From(kFirstListed, numbers);
    const int32_t announced = std::max(Numbers{numbers}[WIA_LIST_COUNT], 0);
    extent.count = std::min(extent.count, static_cast<ULONG>(announced));
    return extent;
}

/** Lent by the device's value; a null text is an empty one. */
const void* LendText(const Elements& texts, ULONG index)
{
    static constexpr WCHAR empty[] = {0};
    const auto* text = ElementAt<const WCHAR*>(texts.data, index);
    return text ? text : empty;
}

const void* CopyGuid(const Elements& guids, ULONG index)
{
    auto* copy = static_cast<GUID*>(CoTaskMemAlloc(sizeof(GUID)));
    if (copy)
        *copy = ElementAt<GUID>(guids.data, index);
    return copy;
}

const void* CopyNumber(const Elements& numbers, ULONG index)
{
    auto* copy = static_cast<int32_t*>(KrnAlloc(1, sizeof(int32_t), VORN_HERE));
    if (copy)
        *copy = Numbers{numbers}[index];
    return copy;
}

/** What differs between lists of texts, GUIDs and numbers. */
struct ItemKind {
    Extent (*extent)(const Elements& elements, uint32_t propertyId);
    const void* (*make)(const Elements& elements, ULONG index);  ///< null without memory
    void (*free)(const void* item);
};

void FreeBlock(const void* block)
{
    KrnFree(const_cast<void*>(block), VORN_HERE);
}

constexpr ItemKind kTexts{TextExtent, LendText, [](const void*) {}};
constexpr ItemKind kGuids{GuidExtent, CopyGuid,
                          [](const void* item) { CoTaskMemFree(const_cast<void*>(item)); }};
constexpr ItemKind kNumbers{NumberExtent, CopyNumber, FreeBlock};

const ItemKind& KindOf(uint32_t type)
{
    switch (type & ~uint32_t{VT_VECTOR}) {
        case VT_BSTR:
            return kTexts;
        case VT_CLSID:
            return kGuids;
        default:
            return kNumbers;
    }
}

/** True unless items of that kind would mislead an application that goes by the property's own type. */
bool FitsType(const ItemKind& kind, uint32_t valueType)
{
    const auto type = static_cast<VARTYPE>(valueType & ~uint32_t{VT_VECTOR});
    const bool telling = type == VT_BSTR || type == VT_CLSID || FindNumberType(type);
    return !telling || &kind == &KindOf(type);
}

// ---- Records -----------------------------------------------------------------------------------------------

/** An empty record of the tree; null without memory. */
template <typename Record>
Record* NewRecord()
{
    auto* record = static_cast<Record*>(KrnAlloc(1, sizeof(Record), VORN_HERE));
    if (record) {
        KrnMemSet(record, 0, sizeof(Record));
        record->structSize = sizeof(Record);
    }
    return record;
}

void AddItems(WiaListValues& list, const Elements& elements, uint32_t propertyId, const ItemKind& kind)
{
    const Extent extent = kind.extent(elements, propertyId);
    if (!extent.count)
        return;
    auto* items = static_cast<const void**>(KrnAlloc(extent.count, sizeof(void*), VORN_HERE));
    list.items = items;
    if (!items)
        return;
    for (ULONG i = 0; i < extent.count; ++i) {
        items[i] = kind.make(elements, extent.first + i);
        if (!items[i])
            return;
        ++list.count;
    }
}

void AddList(WiaCapabilityValues& values, const Elements& elements, const WiaCapability& capability)
{
    auto* list = NewRecord<WiaListValues>();
    values.listValues = list;
    const ItemKind& kind = KindOf(elements.type);
    if (list && FitsType(kind, capability.valueType))
        AddItems(*list, elements, capability.propertyId, kind);
}

void AddRange(WiaCapabilityValues& values, const Elements& elements, const WiaCapability&)
{
    auto* range = NewRecord<WiaRangeValues>();
    values.rangeValues = range;
    if (!range)
        return;
    const Numbers numbers{elements};
    range->minimum = numbers[WIA_RANGE_MIN];
    range->maximum = numbers[WIA_RANGE_MAX];
    range->nominal = numbers[WIA_RANGE_NOM];
    range->step = numbers[WIA_RANGE_STEP];
}

void AddFlags(WiaCapabilityValues& values, const Elements& elements, const WiaCapability&)
{
    auto* flags = NewRecord<WiaFlagValues>();
    values.flagValues = flags;
    if (!flags)
        return;
    const Numbers numbers{elements};
    flags->validFlags = static_cast<uint32_t>(numbers[WIA_FLAG_VALUES]);
    flags->nominal = static_cast<uint32_t>(numbers[WIA_FLAG_NOM]);
}

/** The kinds of valid values; the first whose access flag is set counts. */
constexpr struct ValueKind {
    uint32_t accessFlag;
    void (*add)(WiaCapabilityValues& values, const Elements& elements, const WiaCapability& capability);
} kValueKinds[] = {{WIA_PROP_LIST, AddList}, {WIA_PROP_RANGE, AddRange}, {WIA_PROP_FLAG, AddFlags}};

}  // namespace

HRESULT ReadAttributes(IWiaPropertyStorage* storage, PROPID id, ULONG& access, PropVariant& valid) noexcept
{
    PROPSPEC propSpec = SpecifyProperty(nullptr, id);
    const HRESULT result = storage->GetPropertyAttributes(1, &propSpec, &access, &valid);
    if ((valid.vt & VT_VECTOR) && !valid.caub.pElems)
        valid.Forget();
    return result;
}

WiaCapabilityValues* BuildCapabilityValues(const PROPVARIANT& published,
                                           const WiaCapability& capability) noexcept
{
    for (const ValueKind& kind : kValueKinds) {
        if (!(capability.accessFlags & kind.accessFlag))
            continue;
        auto* values = NewRecord<WiaCapabilityValues>();
        if (values)
            kind.add(*values, ElementsOf(published), capability);
        return values;
    }
    return nullptr;
}

void FreeCapabilityValues(WiaCapabilityValues* values, uint32_t publishedType) noexcept
{
    if (!values)
        return;
    if (const WiaListValues* list = values->listValues) {
        for (int32_t i = 0; i < list->count; ++i)
            KindOf(publishedType).free(list->items[i]);
        FreeBlock(list->items);
        FreeBlock(list);
    }
    FreeBlock(values->rangeValues);
    FreeBlock(values->flagValues);
    FreeBlock(values);
}

}  // namespace vorn
