/**
 * @file Client.h
 * A client of the image-acquisition service: managers, items, and receivers that remember what they are sent.
 */
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "com.h"
#include "comobject.h"
#include "wia/shared/Interfaces.h"
#include "wia/virtual/DeviceBuilder.h"

namespace vorn::wia::test {

constexpr Generation kGenerations[] = {Generation::One, Generation::Two};

std::string Narrow(WStringView text);
WString Wide(const std::string& text);
PROPSPEC Spec(PROPID id);

/** An item of either generation. */
class Node {
public:
    Node() = default;
    explicit Node(ComPtr<IWiaItem> item) : one_{std::move(item)} {}
    explicit Node(ComPtr<IWiaItem2> item) : two_{std::move(item)} {}

    IWiaItem* One() const { return one_.Get(); }
    IWiaItem2* Two() const { return two_.Get(); }
    explicit operator bool() const { return one_ || two_; }

    std::vector<Node> Children() const;
    /** The child of that name. */
    Node Child(const char* name) const;
    std::string Name() const { return Narrow(Read(WIA_IPA_ITEM_NAME).ToText()); }

    ComPtr<IWiaPropertyStorage> Storage() const;
    Value Read(PROPID id) const;
    LONG Long(PROPID id) const { return Read(id).Long(-1); }
    HRESULT Write(PROPID id, const Value& value) const;
    HRESULT Write(PROPID id, LONG value) const { return Write(id, Value::I4(value)); }
    /** Access flags in `flags`. */
    Value Valid(PROPID id, ULONG* flags = nullptr) const;

    HRESULT Banded(IWiaDataCallback& callback, ULONG bufferSize = 4096) const;
    HRESULT ToFile(LONG tymed, const std::filesystem::path& file, IWiaDataCallback* callback = nullptr) const;
    HRESULT Download(IWiaTransferCallback& callback, LONG flags = 0) const;

private:
    IUnknown* Unknown() const;

    ComPtr<IWiaItem> one_;
    ComPtr<IWiaItem2> two_;
};

/** Called with each notification's number, from 1; what it answers goes to the service. */
using Answer = std::function<HRESULT(size_t notification)>;

/** What a transfer sent: one letter a message, and the bytes of each page. */
struct Received {
    std::string messages;
    std::vector<std::vector<uint8_t>> pages;
    size_t notifications = 0;
};

/** H header, S status, D data, N new page, T termination. A run of one letter is written once. */
class BandReceiver final : public ComObject<IWiaDataCallback> {
public:
    explicit BandReceiver(Answer answer = {}) : answer_{std::move(answer)} {}
    HRESULT STDMETHODCALLTYPE BandedDataCallback(LONG message, LONG status, LONG percent, LONG offset,
                                                 LONG length, LONG, LONG, BYTE* data) override;
    Received received;
    LONG longestBand = 0;

private:
    Answer answer_;
};

/** G stream asked for, S status, E end of stream, T end of transfer. */
class StreamReceiver final : public ComObject<IWiaTransferCallback> {
public:
    explicit StreamReceiver(Answer answer = {}) : answer_{std::move(answer)} {}
    HRESULT STDMETHODCALLTYPE TransferCallback(LONG flags, WiaTransferParams* params) override;
    HRESULT STDMETHODCALLTYPE GetNextStream(LONG flags, BSTR name, BSTR fullName, IStream** stream) override;
    /** References on streams that the service has not given back. */
    ULONG StreamsHeld();
    Received received;

private:
    Answer answer_;
    std::vector<ComPtr<IStream>> streams_;
};

/** A test on its own devices, after which no COM object is left. */
class ServiceTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /** Lists one device in place of the standard ones. */
    void Use(const DeviceBuilder& device);
    ComPtr<IWiaDevMgr> Manager1() const;
    ComPtr<IWiaDevMgr2> Manager2() const;
    /** Opens the device used, or a standard one by its id. */
    Node Open(Generation generation, const char* id = nullptr) const;
    std::filesystem::path Folder();

private:
    int64_t alive_ = 0;
    WString id_;
    std::vector<std::unique_ptr<ScopedDevices>> devices_;
    std::filesystem::path folder_;
};

/** Pages whose every byte is their number. */
std::vector<CannedPage> Numbered(uint32_t count, uint32_t bitsPerPixel = 24);

}  // namespace vorn::wia::test
