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

template <typename Element>
double NumberAt(const void* data, ULONG index)
{
    return static_cast<double>(ElementAt<Element>(data, index));
}

/** The element types that are numbers. Unsigned 32-bit ones keep their bits. */
constexpr struct NumberType {
    VARTYPE type;
    double (*at)(const void* data, ULONG index);
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

/** Elements read as numbers; 0 where there is none. */
class Numbers {
public:
    explicit Numbers(const Elements& elements) : elements_{elements}, type_{FindNumberType(elements.type)} {}

    double Exact(ULONG index) const
    {
        return type_ && index < elements_.count ? type_->at(elements_.data, index) : 0;
    }
    int32_t operator[](ULONG index) const { return Whole(Exact(index)); }

    /** The nearest whole number that 32 bits hold; 0 for what is no number. */
    static int32_t Whole(double number)
    {
        using Limits = std::numeric_limits<int32_t>;
        return std::isnan(number) ? 0
                                  : static_cast<int32_t>(
                                        std::clamp<double>(std::round(number), Limits::min(), Limits::max()));
    }

private:
    const Elements& elements_;
    const NumberType* type_;
};

/** True when applications find the exact numbers behind the rounded ones. */
bool IsReal(const WiaCapability& capability)
{
    return capability.valueType == WIA_VALUE_FLOAT || capability.valueType == WIA_VALUE_DOUBLE;
}

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

/** An empty record of the tree that states this size; null without memory. */
template <typename Record>
Record* NewRecord(uint32_t structSize = sizeof(Record))
{
    auto* record = static_cast<Record*>(KrnAlloc(1, sizeof(Record), VORN_HERE));
    if (record) {
        KrnMemSet(record, 0, sizeof(Record));
        KrnMemCopy(record, &structSize, sizeof(structSize));  // the first field of each
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

/** The exact numbers of a list; without memory for them the list is empty. */
void AddExactNumbers(WiaRealListValues& list, const Elements& elements, const WiaCapability& capability)
{
    const Extent extent = NumberExtent(elements, capability.propertyId);
    auto* exact =
        extent.count ? static_cast<double*>(KrnAlloc(extent.count, sizeof(double), VORN_HERE)) : nullptr;
    list.numbers = exact;
    if (!exact)
        return;
    for (ULONG i = 0; i < extent.count; ++i)
        exact[i] = Numbers{elements}.Exact(extent.first + i);
    AddItems(list.rounded, elements, capability.propertyId, kNumbers);
}

void AddList(WiaCapabilityValues& values, const Elements& elements, const WiaCapability& capability)
{
    const ItemKind& kind = KindOf(elements.type);
    const bool fits = FitsType(kind, capability.valueType);
    if (IsReal(capability)) {
        auto* list = NewRecord<WiaRealListValues>(sizeof(WiaListValues));
        values.listValues = list ? &list->rounded : nullptr;
        if (list && fits)
            AddExactNumbers(*list, elements, capability);
        return;
    }
    auto* list = NewRecord<WiaListValues>();
    values.listValues = list;
    if (list && fits)
        AddItems(*list, elements, capability.propertyId, kind);
}

/** The ends are rounded inward, so that the device takes every whole number between them. */
void FillRange(WiaRangeValues& range, const Numbers& numbers)
{
    const double minimum = std::ceil(numbers.Exact(WIA_RANGE_MIN));
    const double maximum = std::floor(numbers.Exact(WIA_RANGE_MAX));
    const bool holdsWholeNumber = minimum <= maximum;
    range.minimum = holdsWholeNumber ? Numbers::Whole(minimum) : numbers[WIA_RANGE_MIN];
    range.maximum = holdsWholeNumber ? Numbers::Whole(maximum) : numbers[WIA_RANGE_MAX];
    range.nominal = numbers[WIA_RANGE_NOM];
    range.step = numbers[WIA_RANGE_STEP];
}

void AddRange(WiaCapabilityValues& values, const Elements& elements, const WiaCapability& capability)
{
    const Numbers numbers{elements};
    if (IsReal(capability)) {
        auto* real = NewRecord<WiaRealRangeValues>(sizeof(WiaRangeValues));
        values.rangeValues = real ? &real->rounded : nullptr;
        if (!real)
            return;
        FillRange(real->rounded, numbers);
        real->minimum = numbers.Exact(WIA_RANGE_MIN);
        real->maximum = numbers.Exact(WIA_RANGE_MAX);
        real->nominal = numbers.Exact(WIA_RANGE_NOM);
        real->step = numbers.Exact(WIA_RANGE_STEP);
        return;
    }
    auto* range = NewRecord<WiaRangeValues>();
    values.rangeValues = range;
    if (range)
        FillRange(*range, numbers);
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

void FreeCapabilityValues(const WiaCapability& capability, uint32_t publishedType) noexcept
{
    const WiaCapabilityValues* const values = capability.values;
    if (!values)
        return;
    if (const WiaListValues* list = values->listValues) {
        for (int32_t i = 0; i < list->count; ++i)
            KindOf(publishedType).free(list->items[i]);
        if (IsReal(capability))
            FreeBlock(reinterpret_cast<const WiaRealListValues*>(list)->numbers);
        FreeBlock(list->items);
        FreeBlock(list);
    }
    FreeBlock(values->rangeValues);
    FreeBlock(values->flagValues);
    FreeBlock(values);
}

}  // namespace vorn
