#include "PropertyTable.h"

#include <algorithm>
#include <utility>

namespace vorn::wia {

namespace {

constexpr WCHAR Folded(WCHAR character) noexcept
{
    return character >= u'A' && character <= u'Z' ? static_cast<WCHAR>(character + (u'a' - u'A')) : character;
}

bool SameName(WStringView left, WStringView right) noexcept
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](WCHAR a, WCHAR b) { return Folded(a) == Folded(b); });
}

}  // namespace

void PropertyTable::Share(PropertyPtr property)
{
    const Place place{property->id, static_cast<uint32_t>(properties_.size())};
    // Behind those of the same id: the first one added is the one that is found.
    const auto behind =
        std::upper_bound(places_.begin(), places_.end(), place.id,
                         [](PROPID id, const Place& other) noexcept { return id < other.id; });
    properties_.push_back(std::move(property));
    try {
        places_.insert(behind, place);
    } catch (...) {
        properties_.pop_back();
        throw;
    }
}

const PropertyTable::Place* PropertyTable::FindPlace(PROPID id) const noexcept
{
    const auto found =
        std::lower_bound(places_.begin(), places_.end(), id,
                         [](const Place& place, PROPID wanted) noexcept { return place.id < wanted; });
    return found != places_.end() && found->id == id ? &*found : nullptr;
}

Property* PropertyTable::Find(PROPID id) const noexcept
{
    const Place* place = FindPlace(id);
    return place ? properties_[place->index].get() : nullptr;
}

Property* PropertyTable::Find(const PROPSPEC& propSpec) const noexcept
{
    if (propSpec.ulKind == PRSPEC_PROPID)
        return Find(propSpec.propid);
    if (propSpec.ulKind != PRSPEC_LPWSTR || !propSpec.lpwstr)
        return nullptr;
    const WStringView name{propSpec.lpwstr};
    for (const PropertyPtr& property : properties_) {
        if (!property->name.empty() && SameName(property->name, name))
            return property.get();
    }
    return nullptr;
}

PropertyTable::PropertyPtr PropertyTable::Pointer(PROPID id) const noexcept
{
    const Place* place = FindPlace(id);
    return place ? properties_[place->index] : nullptr;
}

LONG PropertyTable::Long(PROPID id, LONG fallback) const noexcept
{
    const Property* property = Find(id);
    return property ? property->value.Long(fallback) : fallback;
}

GUID PropertyTable::Guid(PROPID id) const noexcept
{
    const Property* property = Find(id);
    return property ? property->value.ToGuid() : GUID{};
}

void PropertyTable::SetLong(PROPID id, LONG value) const noexcept
{
    Property* property = Find(id);
    int64_t before = 0;
    if (property && property->value.ToInteger(before))
        property->value = Value::Integer(property->Type(), value);
}

void PropertyTable::SetGuid(PROPID id, REFGUID value) const
{
    Property* property = Find(id);
    if (property && property->Type() == VT_CLSID)
        property->value = Value::Guid(value);
}

void PropertyTable::SetText(PROPID id, WStringView value) const
{
    Property* property = Find(id);
    if (property && property->Type() == VT_BSTR)
        property->value = Value::Text(value);
}

void PropertyTable::SetRange(PROPID id, LONG minimum, LONG nominal, LONG maximum) const
{
    Property* property = Find(id);
    if (!property || property->Type() != VT_I4)
        return;
    maximum = std::max(minimum, maximum);
    property->valid = RangeValues(minimum, std::clamp(nominal, minimum, maximum), maximum, 1);
    property->value = Value::I4(std::clamp(property->value.Long(), minimum, maximum));
}

void PropertyTable::SetList(PROPID id, const std::vector<LONG>& values) const
{
    Property* property = Find(id);
    if (!property || property->Type() != VT_I4 || !(property->access & WIA_PROP_LIST) || values.empty())
        return;
    property->valid = ListValues(values.front(), values);
    if (std::find(values.begin(), values.end(), property->value.Long()) == values.end())
        property->value = Value::I4(values.front());
}

HRESULT PropertyTable::WriteOne(const PROPSPEC& propSpec, const PROPVARIANT& value,
                                std::vector<Property*>& written)
{
    Property* property = Find(propSpec);
    if (!property)
        return E_INVALIDARG;
    if (!(property->access & WIA_PROP_WRITE))
        return E_ACCESSDENIED;
    Value accepted;
    if (const HRESULT result = AcceptValue(*property, value, accepted); result != S_OK)
        return result;
    if (property->check) {
        if (const HRESULT result = property->check(accepted); result != S_OK)
            return result;
    }
    property->value = std::move(accepted);
    written.push_back(property);
    if (follow_)
        follow_(property->id);
    return S_OK;
}

HRESULT PropertyTable::Write(ULONG count, const PROPSPEC* specs, const PROPVARIANT* values)
{
    // Values already written bear on the valid values of later ones, so each is put in force before the
    // next is looked at, and all go back when one is refused, or an allocation fails among those that follow it.
    struct Before {
        Value value, valid;
        ULONG access;
    };
    std::vector<Before> before;
    before.reserve(properties_.size());
    for (const PropertyPtr& property : properties_)
        before.push_back({property->value, property->valid, property->access});
    const auto restore = [&]() noexcept {
        for (size_t i = 0; i < before.size(); ++i) {
            std::swap(properties_[i]->value, before[i].value);
            std::swap(properties_[i]->valid, before[i].valid);
            properties_[i]->access = before[i].access;
        }
    };

    std::vector<Property*> written;
    try {
        for (ULONG i = 0; i < count; ++i) {
            if (const HRESULT result = WriteOne(specs[i], values[i], written); result != S_OK) {
                restore();
                return result;
            }
        }
        for (const Property* property : written) {
            if (property->applied)
                property->applied(property->value);
            if (written_)
                written_(property->id);
        }
    } catch (...) {
        restore();
        throw;
    }
    return S_OK;
}

}  // namespace vorn::wia
