/**
 * @file DeviceBuilder.h
 * Defines devices: from nothing, or by changing one of the standard virtual devices.
 *
 *     ScopedDevices devices{
 *         VirtualScanner().FailAt(Step::Page, WIA_ERROR_PAPER_JAM, 2).Build(),     // jams at the second page
 *         DeviceBuilder{StiDeviceTypeDigitalCamera}.Id(VORN_TEXT("cam")).NoDescription()
 *             .Child(Generation::One, PictureItem(Generation::One, VORN_TEXT("P"), PlainPage(64, 48, 24, 0)))
 *             .Build()};
 *
 * Besides what is here: values and properties are written down with `model/Property.h` (ReadOnly, Writable,
 * InRange, OneOf, FlagsOf, or a `Property` filled by hand, hostile `read` and `attributes` answers included),
 * items with `model/Definition.h`, pages with `CannedPages.h`, steps with `model/Faults.h`. `model/CallLog.h`
 * records calls, `dialogs/DialogProvider.h` answers dialogs, `Service.h` holds the device list and hides the
 * manager classes.
 *
 * The virtual scanners' own properties, on their root items. They are vendor properties: no other scanner has
 * them.
 * - 38914 "Virtual Sheets" (VT_I4): sheets in the feeder, 0 to 10000. Each opening of the device refills it. Only
 *   where there is a feeder.
 * - 38915 "Virtual Pages Folder" (VT_BSTR): pages are the image files of this folder in name order; empty: a
 *   test chart. A folder that does not exist or holds no image is refused with E_INVALIDARG.
 * - 38916 "Virtual Page Delay" (VT_I4): milliseconds that a page takes, 0 to 600000.
 * - 38917 "Virtual Paper" (VT_BSTR, a list): what is on a sheet that comes from no folder: "Test chart" or "Blank".
 */
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "../Service.h"
#include "../dialogs/DialogProvider.h"
#include "../model/CallLog.h"
#include "../model/Definition.h"
#include "../model/Device.h"
#include "CannedPages.h"

namespace vorn::wia {

/** The virtual scanners' vendor properties. */
constexpr PROPID kVirtualSheets = WIA_PRIVATE_DEVPROP + 0;
constexpr PROPID kVirtualPagesFolder = WIA_PRIVATE_DEVPROP + 1;
constexpr PROPID kVirtualPageDelay = WIA_PRIVATE_DEVPROP + 2;
constexpr PROPID kVirtualPaper = WIA_PRIVATE_DEVPROP + 3;

/** Changes a tree: it gets the root item's definition. */
using TreeEdit = std::function<void(ItemDefinition& root)>;

class VORN_WIA_API DeviceBuilder {
public:
    /**
     * A device with id `test:device`, name, description, type and the other device properties, and a root
     * item without children in each generation.
     */
    explicit DeviceBuilder(LONG type = StiDeviceTypeScanner);
    /** Begins with a definition that is there. */
    explicit DeviceBuilder(DeviceDefinition definition);

    DeviceBuilder& Id(WStringView id);
    DeviceBuilder& Name(WStringView name);
    DeviceBuilder& Description(WStringView description);
    /** The whole value of WIA_DIP_DEV_TYPE: type in the high half, subtype in the low one. */
    DeviceBuilder& TypeValue(LONG value);
    /** Leaves the property out, as WithoutProperty does. */
    DeviceBuilder& NoId() { return WithoutProperty(WIA_DIP_DEV_ID); }
    DeviceBuilder& NoName() { return WithoutProperty(WIA_DIP_DEV_NAME); }
    DeviceBuilder& NoDescription() { return WithoutProperty(WIA_DIP_DEV_DESC); }
    DeviceBuilder& NoType() { return WithoutProperty(WIA_DIP_DEV_TYPE); }
    /** Adds or replaces a device property: enumerations show it, and root items have it. */
    DeviceBuilder& DeviceProperty(Property property);
    DeviceBuilder& WithoutProperty(PROPID id);
    /** The device is a remote one: not listed with WIA_DEVINFO_ENUM_LOCAL. */
    DeviceBuilder& Remote();

    /** Adds or replaces a property of the root item, in both generations or in one. */
    DeviceBuilder& RootProperty(Property property);
    DeviceBuilder& RootProperty(Generation generation, Property property);
    /** Adds a child of the root item, in both generations or in one. */
    DeviceBuilder& Child(ItemDefinition item);
    DeviceBuilder& Child(Generation generation, ItemDefinition item);
    /** Changes the tree of each opening, after everything that was said before. */
    DeviceBuilder& Edit(TreeEdit edit);
    DeviceBuilder& Edit(Generation generation, TreeEdit edit);
    /** Changes the items of that name, in both generations. */
    DeviceBuilder& EditItem(WStringView name, TreeEdit edit);
    /** The device cannot be opened in that generation: WIA_S_NO_DEVICE_AVAILABLE. */
    DeviceBuilder& Without(Generation generation);

    /** The `nth` time that `step` is passed, and the `count` - 1 times after it, it answers `result`. */
    DeviceBuilder& FailAt(Step step, HRESULT result, unsigned nth = 1, unsigned count = 1);
    /** The same for the passes that concern one property. */
    DeviceBuilder& FailProperty(PROPID id, Step step, HRESULT result, unsigned nth = 1, unsigned count = 1);
    /** The step answers S_OK and gives a null object, or stores nothing. */
    DeviceBuilder& NullAt(Step step, unsigned nth = 1, unsigned count = 1);

    DevicePtr Build() const;

private:
    DeviceDefinition definition_;
    std::vector<TreeEdit> edits1_, edits2_;
    std::shared_ptr<FaultPlan> faults_;
};

// ---- The standard devices, ready to be changed
// --------------------------------------------------------------------

/**
 * Id `virtual:scanner`: flatbed and feeder with duplex. First generation: one item `Scan`, its source chosen
 * by WIA_DPS_DOCUMENT_HANDLING_SELECT of the root. Second generation: items `Flatbed` and `Feeder`.
 */
VORN_WIA_API DeviceBuilder VirtualScanner(LONG sheets = 3);
/** Id `virtual:compact`: a flatbed that knows a few resolutions only. */
VORN_WIA_API DeviceBuilder VirtualCompactScanner();
/** Id `virtual:camera`: three pictures, in the second generation in a folder `Pictures`. */
VORN_WIA_API DeviceBuilder VirtualCamera();
/** Id `virtual:video`: a streaming-video device with WIA_DPV_IMAGES_DIRECTORY. */
VORN_WIA_API DeviceBuilder VirtualVideo();

// ---- Items for devices of one's own
// -------------------------------------------------------------------------------

/**
 * An item of a scanner with every property of one, as the virtual scanner has them: `Scan` of the first
 * generation, or `Flatbed` or `Feeder` of the second one (category and name follow `feeder`). `source` gives
 * the pages.
 */
VORN_WIA_API ItemDefinition ScannerItem(Generation generation, SourceFactory source, bool feeder = false);

/** A transferable item with one picture, of a camera: format, medium, depth and size properties. */
VORN_WIA_API ItemDefinition PictureItem(Generation generation, WStringView name, CannedPage picture);

/** A bare item: name, type and no more properties than every item has. */
VORN_WIA_API ItemDefinition BareItem(WStringView name, LONG type, REFGUID category = GUID{});

// ---- In force for a while
// -----------------------------------------------------------------------------------------

/** Puts devices in place of those that the service lists, as long as it lives. They nest. */
class VORN_WIA_API ScopedDevices {
public:
    ScopedDevices() : ScopedDevices{std::vector<DevicePtr>{}} {}
    explicit ScopedDevices(std::vector<DevicePtr> devices);
    template <typename... Devices>
    explicit ScopedDevices(DevicePtr first, Devices... others)
        : ScopedDevices{std::vector<DevicePtr>{std::move(first), std::move(others)...}}
    {
    }
    ScopedDevices(const ScopedDevices&) = delete;
    ~ScopedDevices();

private:
    DeviceList before_;
};

/** Makes the device manager of a generation unavailable: CoCreateInstance gives REGDB_E_CLASSNOTREG. */
class VORN_WIA_API ScopedMissingManager {
public:
    explicit ScopedMissingManager(Generation generation);
    ScopedMissingManager(const ScopedMissingManager&) = delete;
    ~ScopedMissingManager();

private:
    Generation generation_;
};

}  // namespace vorn::wia
