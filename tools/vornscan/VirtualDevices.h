// The virtual devices in place of this machine's.
#pragma once

namespace vornscan {

/** Has this process's sessions find the virtual devices, and only those, as long as the object lives. */
class VirtualDevices {
public:
    /** @throws Failure when the platform refuses */
    VirtualDevices();
    VirtualDevices(const VirtualDevices&) = delete;
    VirtualDevices& operator=(const VirtualDevices&) = delete;
    ~VirtualDevices();
};

}  // namespace vornscan
