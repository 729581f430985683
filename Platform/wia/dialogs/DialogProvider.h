/**
 * @file DialogProvider.h
 * Who answers the service's dialogs.
 *
 * Every question answers `S_OK` with a choice, `S_FALSE` when the user closed the dialog without one, or a
 * failure.
 */
#pragma once

#include <memory>
#include <vector>

#include "../Export.h"
#include "../model/Device.h"

namespace vorn::wia {

class Item;

class VORN_WIA_API DialogProvider {
public:
    virtual ~DialogProvider() = default;

    struct DeviceQuestion {
        HWND parent;
        LONG deviceType;                 ///< a StiDeviceType; 0 takes any
        LONG flags;                      ///< as the client gave them
        std::vector<DevicePtr> devices;  ///< of that type, in the service's order; never empty
    };
    /** Chooses a device. */
    virtual HRESULT SelectDevice(const DeviceQuestion& question, DevicePtr& chosen) = 0;

    struct ItemsQuestion {
        HWND parent;
        LONG flags;
        LONG intent;
        std::vector<Item*> items;  ///< the transferable items below the one that was asked, in tree order
    };
    /** Chooses the items to transfer, first generation. Properties of the items may be changed before. */
    virtual HRESULT SelectItems(const ItemsQuestion& question, std::vector<Item*>& chosen) = 0;

    struct ImageQuestion {
        HWND parent;
        LONG flags;
        WStringView folder;
        WStringView fileName;
        std::vector<Item*> items;  ///< the transferable items of the device, in tree order
    };
    /**
     * Chooses the items that the second generation's image dialog transfers into files. The service transfers
     * them; a provider that has written files itself puts their names into `files` and leaves `chosen` empty.
     */
    virtual HRESULT SelectImages(const ImageQuestion& question, std::vector<Item*>& chosen,
                                 std::vector<WString>& files) = 0;
};

/**
 * Answers without a display: the first device offered; all items in the first generation; in the second, for
 * a scanner its first item and for other devices all.
 */
VORN_WIA_API std::shared_ptr<DialogProvider> MakeDefaultDialogs();

/** Puts a provider in place of the service's as long as it lives. */
class VORN_WIA_API ScopedDialogs {
public:
    explicit ScopedDialogs(std::shared_ptr<DialogProvider> provider);
    ScopedDialogs(const ScopedDialogs&) = delete;
    ~ScopedDialogs();

private:
    std::shared_ptr<DialogProvider> before_;
};

}  // namespace vorn::wia
