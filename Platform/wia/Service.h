/**
 * @file Service.h
 * The image-acquisition service of this process: which devices there are, who answers dialogs, which classes
 * serve it.
 *
 * All state that is process-wide stands here. It is guarded: sessions on several threads may use the service.
 */
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "Export.h"
#include "RealDevices.h"
#include "dialogs/DialogProvider.h"
#include "model/Device.h"

namespace vorn::wia {

/** What the service lists. */
struct DeviceList {
    DeviceList(std::vector<DevicePtr> listed, bool withReal = false)
        : devices{std::move(listed)}, real{withReal}
    {
    }

    std::vector<DevicePtr> devices;
    bool real;  ///< the real devices of this machine come before them
};

class VORN_WIA_API Service {
public:
    /** The service of this process. */
    static Service& Instance();

    /** The devices in the order in which they are listed; looks for real ones each time. At first those of
     * DefaultDevices after the real ones. */
    FoundDevices Devices();
    /** The devices that need no search: those of the list, and the virtual ones, listed or not, unless the list was
     * replaced. */
    std::vector<DevicePtr> DevicesAtHand();
    /** The device of that id; null when there is none. Looks for real ones only when none is known by that id. */
    DevicePtr Find(WStringView id);
    /** Replaces the list; the old one is returned. */
    DeviceList SetDevices(DeviceList devices);

    /** Who answers dialogs; never null. */
    std::shared_ptr<DialogProvider> Dialogs();
    /** Replaces the provider; null brings back the default one. The old one is returned. */
    std::shared_ptr<DialogProvider> SetDialogs(std::shared_ptr<DialogProvider> provider);

    /** Whether the device manager of a generation can be had. Nested calls count. */
    void HideManager(Generation generation);
    void ShowManager(Generation generation);
    bool IsHidden(Generation generation);

private:
    Service();

    std::mutex mutex_;
    FoundDevices FindReal();

    DeviceList devices_;
    std::vector<DevicePtr> found_;  ///< the real devices when they were last looked for
    std::shared_ptr<DialogProvider> dialogs_;
    int hidden1_ = 0, hidden2_ = 0;
};

/** The virtual devices: always the same ones. Their ids begin with `virtual:`. */
const std::vector<DevicePtr>& VirtualDevices();

/**
 * The list that a process begins with: what this machine has. On Linux the environment variable
 * VORNWIA_VIRTUAL_DEVICES adds the virtual devices (`1`) or lists no others (`only`).
 */
DeviceList DefaultDevices();

/**
 * Announces the two device managers with CoRegisterClassObject, as a host does where they are not built in.
 * The calling thread is in an apartment. RevokeClasses takes them back.
 */
VORN_WIA_API HRESULT RegisterClasses() noexcept;
VORN_WIA_API void RevokeClasses() noexcept;

}  // namespace vorn::wia
