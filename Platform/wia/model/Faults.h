/**
 * @file Faults.h
 * Failures that a device is told to produce, each at a named step.
 */
#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <vector>

#include "../Export.h"
#include "platform.h"

namespace vorn::wia {

/** The steps of the service at which a device can be told to fail. Both generations pass them. */
enum class Step {
    EnumDevices,           ///< EnumDeviceInfo, of any device in the list
    NextDevice,            ///< the device enumerator's Next, when it comes to this device
    SelectDevice,          ///< SelectDeviceDlgID, when the dialog has chosen this device
    CreateDevice,          ///< opening the device
    QueryPropertyStorage,  ///< QueryInterface of an item for its property storage
    QueryTransfer,         ///< QueryInterface of an item for IWiaDataTransfer or IWiaTransfer
    ReadProperty,          ///< ReadMultiple, once for each property
    WriteProperty,         ///< WriteMultiple, once for each property, before the value is checked
    GetAttributes,         ///< GetPropertyAttributes, once for each property
    CountProperties,       ///< IWiaPropertyStorage::GetCount
    EnumProperties,        ///< IWiaPropertyStorage::Enum
    NextProperty,          ///< the property enumerator's Next, once for each property
    GetRootItem,
    EnumChildItems,
    NextChildItem,  ///< the child enumerator's Next, once for each child
    GetChildCount,  ///< the child enumerator's GetCount; instead of nothing it stores INT32_MAX
    GetItemType,
    GetItemCategory,
    EnumFormats,
    NextFormat,      ///< the format enumerator's Next, once for each pair
    GetFormatCount,  ///< the format enumerator's GetCount
    Transfer,        ///< the start of idtGetBandedData, idtGetData or Download
    Page,            ///< before each page is taken from its source
    Band,            ///< before each chunk of a page, the header among them, is handed over
    Stream,          ///< before each GetNextStream; before the file is made by idtGetData
};

/** What a step does instead of its work. */
struct Fault {
    HRESULT result = E_FAIL;
    bool nullObject = false;  ///< answers S_OK with a null object (or nothing stored) in place of `result`
};

/** A device's failures still to come. Thread safe. */
class VORN_WIA_API FaultPlan {
public:
    /** The `nth` time (1 is the next) that `step` is passed, and the `count` - 1 times after it, `fault`
     * happens. */
    void Add(Step step, Fault fault, unsigned nth = 1, unsigned count = 1);
    /** As Add, counting only the passes for one property. */
    void AddFor(PROPID property, Step step, Fault fault, unsigned nth = 1, unsigned count = 1);

    /** Passes a step: what is to happen instead of its work. */
    std::optional<Fault> Pass(Step step, PROPID property = 0)
    {
        // Every call passes here, and hardly ever is anything planned.
        if (!planned_.load(std::memory_order_acquire))
            return std::nullopt;
        return PassPlanned(step, property);
    }

private:
    struct Entry {
        Step step;
        PROPID property;  ///< 0: any
        Fault fault;
        unsigned nth, count;
        unsigned passed = 0;
    };

    std::optional<Fault> PassPlanned(Step step, PROPID property);

    std::atomic<bool> planned_{false};  ///< there are entries
    std::mutex mutex_;
    std::vector<Entry> entries_;
};

}  // namespace vorn::wia
