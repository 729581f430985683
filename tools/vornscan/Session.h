// A session of the library, its devices, and the items of the one that is open.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Failure.h"
#include "Text.h"
#include "vornwia.h"

namespace vornscan {

/** What the device, or whoever is in its place on the network, says of itself. */
struct Device {
    std::string id;
    std::string name;
    std::string description;

    /** The name as it may be shown. */
    std::string Shown() const { return Printable(name); }
    /** Name and id as they may be shown. */
    std::string Label() const { return name == id ? Shown() : Shown() + " (" + Printable(id) + ")"; }
};

/** The devices that were found, and what kept the search from finding all of them. */
struct DeviceSearch {
    std::vector<Device> devices;
    std::optional<Failure> failure;
};

/** An item of the open device, owned or lent; must not outlive its session. */
class Item {
public:
    Item(WiaSession* session, std::shared_ptr<VornWiaItem> handle)
        : session_{session}, handle_{std::move(handle)}
    {
    }

    WiaItemHandle Handle() const noexcept { return handle_.get(); }

    /** A value that the item does not have is nothing. */
    std::optional<int32_t> Long(uint32_t id) const;
    std::optional<int32_t> Long(const WCHAR* name) const;
    /** A number with all of its fraction. */
    std::optional<double> Real(uint32_t id) const;
    std::optional<GUID> Guid(uint32_t id) const;
    std::optional<std::string> Text(uint32_t id) const;
    std::optional<SYSTEMTIME> Time(uint32_t id) const;
    /** How many bytes a property of bytes holds. */
    std::optional<uint64_t> ByteCount(uint32_t id) const;
    /** Tells whether the item has a text property of that name. */
    bool HasText(const WCHAR* name) const;

    /** Writers answer the library's status. */
    int32_t SetLong(uint32_t id, int32_t value) const;
    int32_t SetGuid(uint32_t id, const GUID& value) const;
    int32_t SetLong(const WCHAR* name, int32_t value) const;
    int32_t SetText(const WCHAR* name, const std::string& value) const;

private:
    WiaSession* session_;
    std::shared_ptr<VornWiaItem> handle_;
};

/** What to say when there is no device. */
Failure NoDevice();

class Session {
public:
    /** @throws Failure when this machine has no WIA of that generation */
    explicit Session(uint32_t generation);
    Session(const Session&) = delete;
    ~Session();

    WiaSession* Handle() const noexcept { return session_; }
    uint32_t Generation() const noexcept { return generation_; }

    DeviceSearch Devices() const;

    /**
     * Opens a device: by id, else by name, else by a part of its name that only one device has. Without a
     * name, opens the first scanner.
     * @throws Failure when none or several fit, or opening fails
     */
    Device Open(const std::optional<std::string>& wanted);
    bool IsScanner() const;

    Item Root() const;
    std::vector<Item> Children() const;
    /** False for a device with nothing to acquire from, such as one for live video. */
    bool HasChildren() const;

private:
    /** Without the search for devices and their names, which may take seconds; nothing when none has that id. */
    std::optional<Device> OpenById(const std::string& id);
    void Select(const Device& device);
    Device OpenFirstScanner(const std::vector<Device>& devices);

    WiaSession* session_ = nullptr;
    uint32_t generation_;
};

}  // namespace vornscan
