#include "Property.h"

#include <utility>

namespace vorn::wia {

namespace {

Property Make(PROPID id, Value value, ULONG access, Value valid = {})
{
    Property property;
    property.id = id;
    property.name = WString{PropertyName(id)};
    property.value = std::move(value);
    property.access = access;
    property.valid = std::move(valid);
    return property;
}

}  // namespace

Property ReadOnly(PROPID id, Value value)
{
    return Make(id, std::move(value), WIA_PROP_READ | WIA_PROP_NONE);
}

Property Writable(PROPID id, Value value)
{
    return Make(id, std::move(value), WIA_PROP_RW | WIA_PROP_NONE);
}

Property InRange(PROPID id, LONG value, LONG minimum, LONG maximum, LONG step)
{
    return Make(id, Value::I4(value), WIA_PROP_RW | WIA_PROP_RANGE,
                RangeValues(minimum, value, maximum, step));
}

Property OneOf(PROPID id, LONG value, const std::vector<LONG>& values)
{
    return Make(id, Value::I4(value), WIA_PROP_RW | WIA_PROP_LIST, ListValues(value, values));
}

Property OneOf(PROPID id, REFGUID value, const std::vector<GUID>& values)
{
    return Make(id, Value::Guid(value), WIA_PROP_RW | WIA_PROP_LIST, ListValues(value, values));
}

Property OneOf(PROPID id, WStringView value, const std::vector<WString>& values)
{
    return Make(id, Value::Text(value), WIA_PROP_RW | WIA_PROP_LIST, ListValues(value, values));
}

Property FlagsOf(PROPID id, LONG value, LONG flags)
{
    return Make(id, Value::I4(value), WIA_PROP_RW | WIA_PROP_FLAG, Value::Longs({value, flags}));
}

Value RangeValues(LONG minimum, LONG nominal, LONG maximum, LONG step)
{
    return Value::Longs({minimum, nominal, maximum, step});
}

Value ListValues(LONG nominal, const std::vector<LONG>& values)
{
    std::vector<LONG> elements{static_cast<LONG>(values.size()), nominal};
    elements.insert(elements.end(), values.begin(), values.end());
    return Value::Longs(elements);
}

Value ListValues(REFGUID nominal, const std::vector<GUID>& values)
{
    std::vector<GUID> elements{GUID{}, nominal};
    elements.insert(elements.end(), values.begin(), values.end());
    return Value::Guids(elements);
}

Value ListValues(WStringView nominal, const std::vector<WString>& values)
{
    std::vector<WString> elements{WString{}, WString{nominal}};
    elements.insert(elements.end(), values.begin(), values.end());
    return Value::Texts(elements);
}

}  // namespace vorn::wia
