#include "PropertyStorage.h"

#include <memory>

#include "../model/CallLog.h"
#include "Faulty.h"
#include "ListEnumerator.h"
#include "Part.h"

namespace vorn::wia {

namespace {

std::string SpecText(const PropertyTable& table, const PROPSPEC& propSpec)
{
    if (const Property* property = table.Find(propSpec))
        return std::to_string(property->id);
    if (propSpec.ulKind == PRSPEC_PROPID)
        return std::to_string(propSpec.propid);
    return propSpec.lpwstr ? LogText(propSpec.lpwstr) : "null";
}

std::string ValueText(const PROPVARIANT& value)
{
    int64_t number = 0;
    if (IntegerOf(value, number))
        return std::to_string(number);
    if (value.vt == VT_CLSID && value.puuid)
        return LogGuid(*value.puuid);
    if (value.vt == VT_BSTR && value.bstrVal)
        return LogText(value.bstrVal);
    return "type " + std::to_string(value.vt);
}

/** A copy of a text in task memory; null without memory. */
LPOLESTR TaskText(WStringView text) noexcept
{
    const size_t bytes = (text.size() + 1) * sizeof(OLECHAR);
    auto* copy = static_cast<LPOLESTR>(CoTaskMemAlloc(bytes));
    if (copy) {
        text.copy(copy, text.size());
        copy[text.size()] = 0;
    }
    return copy;
}

struct PropertyEntry {
    PROPID id;
    VARTYPE type;
    WString name;
};

class PropertyEnumerator final : public ListEnumerator<IEnumSTATPROPSTG, PropertyEntry, STATPROPSTG> {
public:
    PropertyEnumerator(DevicePtr device, List list) noexcept
        : ListEnumerator{std::move(list)}, device_{std::move(device)}
    {
    }

private:
    HRESULT Give(const PropertyEntry& entry, STATPROPSTG& element) override
    {
        if (const auto result = Interrupted(*device_, Step::NextProperty, entry.id))
            return *result;
        element.propid = entry.id;
        element.vt = entry.type;
        if (entry.name.empty())
            return S_OK;
        element.lpwstrName = TaskText(entry.name);
        return element.lpwstrName ? S_OK : E_OUTOFMEMORY;
    }

    void TakeBack(STATPROPSTG& element) noexcept override { CoTaskMemFree(element.lpwstrName); }

    ListEnumerator* MakeCopy() const override { return new PropertyEnumerator{device_, Entries()}; }

    DevicePtr device_;
};

}  // namespace

HRESULT PropertyStorage::ReadOne(const PROPSPEC& propSpec, PROPVARIANT& value)
{
    LogCall([&] { return logName_ + ".Read " + SpecText(table_, propSpec); });
    const Property* property = table_.Find(propSpec);
    if (const auto result = Interrupted(*device_, Step::ReadProperty, property ? property->id : 0))
        return *result;
    if (!property || !(property->access & WIA_PROP_READ))
        return S_FALSE;
    return property->read ? property->read(value) : property->value.CopyTo(&value);
}

// A device that lacks one property still has the others: only a read that found nothing is no answer.
HRESULT PropertyStorage::ReadMultiple(ULONG count, const PROPSPEC specs[], PROPVARIANT values[])
{
    if (count == 0 || !specs || !values)
        return E_INVALIDARG;
    for (ULONG i = 0; i < count; ++i)
        PropVariantInit(&values[i]);
    return NoThrow([&] {
        bool anyThere = false;
        for (ULONG i = 0; i < count; ++i) {
            const HRESULT result = ReadOne(specs[i], values[i]);
            if (FAILED(result)) {
                FreePropVariantArray(i, values);
                return result;
            }
            anyThere = anyThere || result == S_OK;
        }
        return anyThere ? S_OK : S_FALSE;
    });
}

HRESULT PropertyStorage::WriteMultiple(ULONG count, const PROPSPEC specs[], const PROPVARIANT values[],
                                       PROPID)
{
    if (count == 0 || !specs || !values)
        return E_INVALIDARG;
    return NoThrow([&] {
        for (ULONG i = 0; i < count; ++i) {
            LogCall([&] {
                return logName_ + ".Write " + SpecText(table_, specs[i]) + "=" + ValueText(values[i]);
            });
            const Property* property = table_.Find(specs[i]);
            if (const auto result = Interrupted(*device_, Step::WriteProperty, property ? property->id : 0))
                return *result;
        }
        return table_.Write(count, specs, values);
    });
}

HRESULT PropertyStorage::ReadPropertyNames(ULONG count, const PROPID ids[], LPOLESTR names[])
{
    if (count == 0 || !ids || !names)
        return E_INVALIDARG;
    bool allThere = true;
    for (ULONG i = 0; i < count; ++i) {
        const Property* property = table_.Find(ids[i]);
        const bool named = property && !property->name.empty();
        names[i] = named ? TaskText(property->name) : nullptr;
        allThere = allThere && names[i];
    }
    return allThere ? S_OK : S_FALSE;
}

HRESULT PropertyStorage::Enum(IEnumSTATPROPSTG** enumerator)
{
    if (!enumerator)
        return E_POINTER;
    *enumerator = nullptr;
    return NoThrow([&] {
        LogCall([&] { return logName_ + ".EnumProperties"; });
        if (const auto result = Interrupted(*device_, Step::EnumProperties))
            return *result;
        auto entries = std::make_shared<std::vector<PropertyEntry>>();
        for (size_t i = 0; i < table_.Count(); ++i) {
            const Property& property = table_.At(i);
            entries->push_back({property.id, property.Type(), property.name});
        }
        *enumerator = new PropertyEnumerator{device_, std::move(entries)};
        return S_OK;
    });
}

HRESULT PropertyStorage::AttributesOf(const PROPSPEC& propSpec, ULONG& flags, PROPVARIANT& valid)
{
    LogCall([&] { return logName_ + ".Attributes " + SpecText(table_, propSpec); });
    const Property* property = table_.Find(propSpec);
    if (const auto result = Interrupted(*device_, Step::GetAttributes, property ? property->id : 0))
        return *result;
    if (!property)
        return E_INVALIDARG;
    if (property->attributes)
        return property->attributes(flags, valid);
    flags = property->access;
    return property->valid.CopyTo(&valid);
}

HRESULT PropertyStorage::GetPropertyAttributes(ULONG count, PROPSPEC specs[], ULONG flags[],
                                               PROPVARIANT values[])
{
    if (count == 0 || !specs || !flags || !values)
        return E_INVALIDARG;
    for (ULONG i = 0; i < count; ++i) {
        flags[i] = 0;
        PropVariantInit(&values[i]);
    }
    return NoThrow([&] {
        for (ULONG i = 0; i < count; ++i) {
            const HRESULT result = AttributesOf(specs[i], flags[i], values[i]);
            if (result != S_OK) {
                FreePropVariantArray(i, values);
                return result;
            }
        }
        return S_OK;
    });
}

HRESULT PropertyStorage::GetCount(ULONG* count)
{
    if (!count)
        return E_POINTER;
    LogCall([&] { return logName_ + ".CountProperties"; });
    if (const auto result = Interrupted(*device_, Step::CountProperties))
        return *result;
    *count = static_cast<ULONG>(table_.Count());
    return S_OK;
}

namespace {

/** A table of its own, filled from the device's definition. */
struct DeviceTable {
    explicit DeviceTable(const Device& device)
    {
        for (const Property& property : device.Definition().properties)
            table.Add(property);
    }
    PropertyTable table;
};

class DeviceProperties final : private DeviceTable, public ComObject<IUnknown> {
public:
    explicit DeviceProperties(DevicePtr device)
        : DeviceTable{*device}, storage_{*this, device, table, "Device " + LogText(device->Id())}
    {
    }

protected:
    void* FindInterface(REFIID iid) noexcept override
    {
        return IsEqualIID(iid, IID_IWiaPropertyStorage) ? storage_.Lend() : ComObject::FindInterface(iid);
    }

private:
    Part<PropertyStorage> storage_;
};

}  // namespace

HRESULT MakeDeviceProperties(DevicePtr device, IWiaPropertyStorage** storage)
{
    return MakeComObject<DeviceProperties>(IID_IWiaPropertyStorage, reinterpret_cast<void**>(storage),
                                           std::move(device));
}

}  // namespace vorn::wia
