/**
 * @file Client.h
 * A client of the image-acquisition service: managers, items, and what transfers send.
 */
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "com.h"
#include "comobject.h"
#include "support/LibraryTest.h"
#include "wia/faces/Interfaces.h"
#include "wia/virtual/DeviceBuilder.h"

namespace vorn::wia::test {

using vorn::test::Wide;

constexpr Generation kGenerations[] = {Generation::One, Generation::Two};

std::string Narrow(WStringView text);
PROPSPEC Specify(PROPID id);

/** Called with each notification's number, from 1; what it answers goes to the service. */
using Answer = std::function<HRESULT(size_t notification)>;

/** What a transfer sent. */
struct Received {
    HRESULT result = S_OK;
    /** One letter a message, a run of one letter written once; which ones, the operations below tell. */
    std::string messages;
    size_t notifications = 0;
    std::vector<std::vector<uint8_t>> pages;

    // Bands only.
    LONG longestBand = 0;
    std::set<const BYTE*> origins;  ///< where the pages begin in the service, by their bands but the first

    ULONG streamsHeld = 0;  ///< references on streams that the service has not given back
};

/** G stream asked for, S status, E end of stream, T end of transfer. */
Received Download(IWiaTransfer& transfer, LONG flags = 0, const Answer& answer = {});

/** An item of either generation. */
class Node {
public:
    Node() = default;
    explicit Node(ComPtr<IWiaItem> item) : one_{std::move(item)} {}
    explicit Node(ComPtr<IWiaItem2> item) : two_{std::move(item)} {}

    IWiaItem* One() const { return one_.Get(); }
    IWiaItem2* Two() const { return two_.Get(); }
    explicit operator bool() const { return one_ || two_; }

    /** Another interface of the item; null when it has none of that name. */
    template <typename Interface>
    ComPtr<Interface> As(REFIID id) const
    {
        IUnknown* item = one_ ? static_cast<IUnknown*>(one_.Get()) : two_.Get();
        ComPtr<Interface> other;
        item->QueryInterface(id, other.OutVoid());
        return other;
    }

    std::vector<Node> Children() const;
    /** The child of that name. */
    Node Child(const char* name) const;
    std::string Name() const { return Narrow(Read(WIA_IPA_ITEM_NAME).ToText()); }

    ComPtr<IWiaPropertyStorage> Storage() const { return As<IWiaPropertyStorage>(IID_IWiaPropertyStorage); }
    Value Read(PROPID id) const;
    LONG Long(PROPID id) const { return Read(id).Long(-1); }
    HRESULT Write(PROPID id, const Value& value) const;
    HRESULT Write(PROPID id, LONG value) const { return Write(id, Value::I4(value)); }

    /** H header, S status, D data, N new page, T termination. */
    Received Banded(ULONG bufferSize = 4096, const Answer& answer = {}) const;
    HRESULT ToFile(LONG tymed, const std::filesystem::path& file) const;
    Received Download(LONG flags = 0, const Answer& answer = {}) const;

private:
    ComPtr<IWiaItem> one_;
    ComPtr<IWiaItem2> two_;
};

/** A test on its own devices. */
class ServiceTest : public vorn::test::LibraryTest {
protected:
    void SetUp() override { ASSERT_GE(CoInitialize(nullptr), 0); }
    void TearDown() override;

    /** Lists one device in place of the standard ones. */
    void Use(const DeviceBuilder& device);
    static ComPtr<IWiaDevMgr> Manager1();
    static ComPtr<IWiaDevMgr2> Manager2();
    /** Opens the device used, or a standard one by its id. */
    Node Open(Generation generation, const char* id = nullptr) const;

private:
    WString id_;
    std::optional<ScopedDevices> devices_;
};

}  // namespace vorn::wia::test
