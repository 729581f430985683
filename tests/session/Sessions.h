/**
 * @file Sessions.h
 * Sessions that end with their scope, tests that run in both generations, and items of any shape.
 */
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Vornkrnx.h"
#include "support/LibraryTest.h"
#include "wia/virtual/DeviceBuilder.h"

namespace vorn::test {

/** An open session, with a device when one is named. */
class OpenSession {
public:
    explicit OpenSession(uint32_t version, const WCHAR* device = nullptr)
    {
        EXPECT_EQ(Vorn_WiaInitSession(version, &session_), SUCCESS);
        if (device) {
            EXPECT_EQ(Vorn_WiaSelectDevice(session_, device), SUCCESS);
        }
    }
    OpenSession(const OpenSession&) = delete;
    OpenSession& operator=(const OpenSession&) = delete;
    ~OpenSession() { Vorn_WiaEndSession(session_); }

    operator WiaSession*() const { return session_; }

    /** The root item that the session lends; null without a device. */
    WiaItemHandle Root() const
    {
        WiaItemHandle root = nullptr;
        Vorn_WiaGetRootItem(session_, nullptr, &root);
        return root;
    }

    /** The type of the selected device, or the status that there is none. */
    int32_t Type() const
    {
        uint32_t type = 0;
        const int32_t status = Vorn_WiaGetSelectedDeviceType(session_, &type);
        return status == SUCCESS ? static_cast<int32_t>(type) : status;
    }

    std::string SelectedId() const { return Narrow(Vorn_WiaGetSelectedDevice(session_)); }

private:
    WiaSession* session_ = nullptr;
};

/** The first child of the root item, which the caller frees. */
inline WiaItemHandle FirstChild(const OpenSession& session)
{
    WiaItemHandle first = nullptr;
    const auto take = [](WiaSession*, uint32_t, WiaItemHandle item, void* taken) {
        *static_cast<WiaItemHandle*>(taken) = item;
        return 0;
    };
    EXPECT_EQ(Vorn_WiaEnumChildItems(session, session.Root(), take, &first), 0);
    return first;
}

/** How many references an item carries. */
inline ULONG ReferencesOf(WiaItemHandle item)
{
    auto* object = reinterpret_cast<IUnknown*>(item);
    object->AddRef();
    return object->Release();
}

/** A text of the kind that is no BSTR. */
inline wia::Value WideText(WStringView text)
{
    PROPVARIANT value{};
    value.vt = VT_LPWSTR;
    value.pwszVal = static_cast<LPWSTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(WCHAR)));
    value.pwszVal[text.copy(value.pwszVal, text.size())] = 0;
    return wia::Value::Adopt(value);
}

/** Answers every read with these bits, pointers to nothing included. */
inline wia::Property Answering(PROPID id, const PROPVARIANT& bits, HRESULT result = S_OK)
{
    wia::Property property = wia::Writable(id, wia::Value::I4(0));
    property.read = [bits, result](PROPVARIANT& read) {
        read = bits;
        return result;
    };
    return property;
}

/** A value of that type which is all zero but for the count of a vector. */
inline PROPVARIANT Hollow(int type)
{
    PROPVARIANT value{};
    value.vt = static_cast<VARTYPE>(type);
    if (type & VT_VECTOR)
        value.caub.cElems = 16;
    return value;
}

/** A test that is run in both generations, on devices of its own. */
class GenerationTest : public LibraryTest, public ::testing::WithParamInterface<uint32_t> {
protected:
    static uint32_t Version() { return GetParam(); }
    /** The name of the device manager in the call log. */
    static std::string Manager() { return "Manager" + std::to_string(Version()); }

    /** Opens a session among these devices, in place of the one before. */
    const OpenSession& Open(std::vector<wia::DevicePtr> devices, const WCHAR* selected = nullptr)
    {
        session_.reset();
        devices_.reset();
        devices_.emplace(std::move(devices));
        return session_.emplace(Version(), selected);
    }
    /** Opens a session with this device selected. */
    const OpenSession& Open(const wia::DeviceBuilder& device)
    {
        const wia::DevicePtr built = device.Build();
        return Open({built}, WString{built->Id()}.c_str());
    }

    void TearDown() override
    {
        session_.reset();
        devices_.reset();
        LibraryTest::TearDown();
    }

private:
    std::optional<wia::ScopedDevices> devices_;
    std::optional<OpenSession> session_;
};

/** Makes the allocations of the kernel library fail while it lives. */
class ScopedFailingAllocator {
public:
    explicit ScopedFailingAllocator(uint64_t nth = 1, uint64_t count = UINT64_MAX)
    {
        KrnFailAllocations(nth, count);
    }
    ScopedFailingAllocator(const ScopedFailingAllocator&) = delete;
    ~ScopedFailingAllocator() { KrnFailAllocations(0, 0); }
};

}  // namespace vorn::test

#define VORN_IN_BOTH_GENERATIONS(Suite)                             \
    INSTANTIATE_TEST_SUITE_P(Wia, Suite, ::testing::Values(1u, 2u), \
                             [](const auto& row) { return "Generation" + std::to_string(row.param); })
