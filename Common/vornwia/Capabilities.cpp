/** Capabilities: the properties of an item, with what may be written to them. */
#include "Internal.h"
#include "ValidValues.h"

namespace vorn {
namespace {

/** Copies a name as far as it fits, never half of a surrogate pair; the record is all zero before. */
void CopyName(const WCHAR* name, WCHAR (&copy)[VORNWIA_CAPABILITY_NAME_CHARS])
{
    constexpr size_t capacity = VORNWIA_CAPABILITY_NAME_CHARS - 1;
    size_t length = 0;
    while (length < capacity && name[length])
        ++length;
    if (length == capacity && name[length] && IsHighSurrogate(name[length - 1]))
        --length;
    KrnMemCopy(copy, name, length * sizeof(WCHAR));
}

/** The next property as the device announces it; the name, when there is one, is the holder's to free. */
struct AnnouncedProperty : STATPROPSTG {
    AnnouncedProperty() noexcept : STATPROPSTG{} {}
    AnnouncedProperty(const AnnouncedProperty&) = delete;
    AnnouncedProperty& operator=(const AnnouncedProperty&) = delete;
    ~AnnouncedProperty() { CoTaskMemFree(lpwstrName); }
};

/** Delivers the properties of one item to the caller's callback. */
class CapabilityWalk {
public:
    CapabilityWalk(WiaSession* session, IWiaPropertyStorage* storage, EnumCapabilitiesCallback callback,
                   void* userData) noexcept
        : session_{session}, storage_{storage}, callback_{callback}, userData_{userData}
    {
        storage_->GetCount(&count_);
    }

    int32_t Run(IEnumSTATPROPSTG* properties)
    {
        int32_t status = SUCCESS;
        for (int32_t i = 0; i < static_cast<int32_t>(count_) && status != ERR_ABORTED; ++i)
            status = DeliverNext(properties);
        return status;
    }

private:
    int32_t DeliverNext(IEnumSTATPROPSTG* properties)
    {
        AnnouncedProperty property;
        ULONG fetched = 0;
        if (properties->Next(1, &property, &fetched) != S_OK)
            return Tell(nullptr);

        WiaCapability capability{};
        capability.structSize = sizeof(WiaCapability);
        capability.propertyId = property.propid;
        capability.valueType = property.vt;
        if (property.lpwstrName)
            CopyName(property.lpwstrName, capability.propertyName);

        PropVariant valid;
        ULONG access = 0;
        if (ReadAttributes(storage_, property.propid, access, valid) != S_OK)
            return Tell(&capability);
        capability.accessFlags = access;
        capability.values = BuildCapabilityValues(valid, capability);
        const int32_t answer = Tell(&capability);
        FreeCapabilityValues(capability, valid.vt);
        return answer;
    }

    int32_t Tell(const WiaCapability* capability) const
    {
        return callback_(session_, count_, capability, userData_);
    }

    WiaSession* session_;
    IWiaPropertyStorage* storage_;
    EnumCapabilitiesCallback callback_;
    void* userData_;
    ULONG count_ = 0;
};

}  // namespace
}  // namespace vorn

using namespace vorn;

int32_t Vorn_WiaEnumCapabilities(WiaSession* session, WiaItemHandle item, uint32_t,
                                 EnumCapabilitiesCallback callback, void* userData)
{
    uint32_t deviceType = 0;
    if (const int32_t status = Vorn_WiaGetSelectedDeviceType(session, &deviceType); status != SUCCESS)
        return status;
    if (!item || !callback)
        return ERR_INVALID_ARGUMENT;
    const PropertyStorageRef storage{item};
    if (!storage)
        return ERR_WIA_UNEXPECTED;

    CapabilityWalk walk{session, storage.Get(), callback, userData};
    ComPtr<IEnumSTATPROPSTG> properties;
    if (const HRESULT result = storage->Enum(properties.Out()); !IsPlainSuccess(result))
        return MapWiaResult(result);
    if (!properties)
        return ERR_WIA_UNEXPECTED;
    return walk.Run(properties.Get());
}
