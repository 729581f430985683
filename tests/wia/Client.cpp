#include "Client.h"

#include <algorithm>
#include <cstring>

namespace vorn::wia::test {

namespace {

HRESULT Record(Received& received, char letter, const Answer& answer)
{
    if (received.messages.empty() || received.messages.back() != letter)
        received.messages += letter;
    ++received.notifications;
    return answer ? answer(received.notifications) : S_OK;
}

struct BandReceiver final : ComObject<IWiaDataCallback> {
    explicit BandReceiver(const Answer& whatToSay) : answer{whatToSay} {}

    HRESULT STDMETHODCALLTYPE BandedDataCallback(LONG message, LONG, LONG, LONG offset, LONG length, LONG,
                                                 LONG, BYTE* data) override
    {
        if (message == IT_MSG_DATA)
            Keep(size_t(offset), size_t(length), data);
        return Record(received, " HDSTN"[message], answer);
    }

    void Keep(size_t offset, size_t length, const BYTE* data)
    {
        if (offset == 0) {
            received.pages.emplace_back();
        } else {
            received.longestBand = std::max(received.longestBand, LONG(length));
            received.origins.insert(data - offset);
        }
        std::vector<uint8_t>& page = received.pages.back();
        page.resize(std::max(page.size(), offset + length));
        std::memcpy(page.data() + offset, data, length);
    }

    const Answer& answer;
    Received received;
};

struct StreamReceiver final : ComObject<IWiaTransferCallback> {
    explicit StreamReceiver(const Answer& whatToSay) : answer{whatToSay} {}

    HRESULT STDMETHODCALLTYPE TransferCallback(LONG, WiaTransferParams* params) override
    {
        if (params->lMessage == WIA_TRANSFER_MSG_END_OF_STREAM) {
            HGLOBAL block = nullptr;
            GetHGlobalFromStream(streams.back().Get(), &block);
            const auto* bytes = static_cast<const uint8_t*>(GlobalLock(block));
            received.pages.emplace_back(bytes, bytes + params->ulTransferredBytes);
            GlobalUnlock(block);
        }
        return Record(received, " SET"[params->lMessage], answer);
    }

    HRESULT STDMETHODCALLTYPE GetNextStream(LONG, BSTR name, BSTR fullName, IStream** stream) override
    {
        EXPECT_TRUE(name && fullName && WStringView{fullName}.ends_with(WStringView{name}));
        ComPtr<IStream> made;
        CreateStreamOnHGlobal(nullptr, TRUE, made.Out());
        streams.push_back(made);
        *stream = made.Detach();
        return Record(received, 'G', answer);
    }

    const Answer& answer;
    Received received;
    std::vector<ComPtr<IStream>> streams;
};

template <typename Item, typename Enumerator>
std::vector<Node> ListAll(const ComPtr<Enumerator>& children)
{
    std::vector<Node> nodes;
    for (ComPtr<Item> item; children->Next(1, item.Out(), nullptr) == S_OK;)
        nodes.emplace_back(item);
    return nodes;
}

}  // namespace

std::string Narrow(WStringView text)
{
    return std::filesystem::path{text}.string();
}

PROPSPEC Specify(PROPID id)
{
    PROPSPEC propSpec{};
    propSpec.ulKind = PRSPEC_PROPID;
    propSpec.propid = id;
    return propSpec;
}

std::vector<Node> Node::Children() const
{
    if (one_) {
        ComPtr<IEnumWiaItem> children;
        EXPECT_EQ(one_->EnumChildItems(children.Out()), S_OK);
        return ListAll<IWiaItem>(children);
    }
    ComPtr<IEnumWiaItem2> children;
    EXPECT_EQ(two_->EnumChildItems(nullptr, children.Out()), S_OK);
    return ListAll<IWiaItem2>(children);
}

Node Node::Child(const char* name) const
{
    for (const Node& child : Children()) {
        if (child.Name() == name)
            return child;
    }
    ADD_FAILURE() << "no item " << name;
    return {};
}

Value Node::Read(PROPID id) const
{
    const PROPSPEC propSpec = Specify(id);
    PROPVARIANT variant{};
    Storage()->ReadMultiple(1, &propSpec, &variant);
    return Value::Adopt(variant);
}

HRESULT Node::Write(PROPID id, const Value& value) const
{
    const PROPSPEC propSpec = Specify(id);
    return Storage()->WriteMultiple(1, &propSpec, &value.Get(), WIA_IPA_FIRST);
}

Received Node::Banded(ULONG bufferSize, const Answer& answer) const
{
    const auto receiver = ComPtr<BandReceiver>::Adopt(new BandReceiver{answer});
    WIA_DATA_TRANSFER_INFO info{};
    info.ulSize = sizeof info;
    info.ulBufferSize = bufferSize;
    const auto transfer = As<IWiaDataTransfer>(IID_IWiaDataTransfer);
    receiver->received.result = transfer->idtGetBandedData(&info, receiver.Get());
    return receiver->received;
}

HRESULT Node::ToFile(LONG tymed, const std::filesystem::path& file) const
{
    WString name = Wide(file);
    STGMEDIUM medium{};
    medium.tymed = static_cast<DWORD>(tymed);
    medium.lpszFileName = name.data();
    return As<IWiaDataTransfer>(IID_IWiaDataTransfer)->idtGetData(&medium, nullptr);
}

Received Node::Download(LONG flags, const Answer& answer) const
{
    return test::Download(*As<IWiaTransfer>(IID_IWiaTransfer).Get(), flags, answer);
}

Received Download(IWiaTransfer& transfer, LONG flags, const Answer& answer)
{
    const auto receiver = ComPtr<StreamReceiver>::Adopt(new StreamReceiver{answer});
    Received& received = receiver->received;
    received.result = transfer.Download(flags, receiver.Get());
    for (const ComPtr<IStream>& stream : receiver->streams) {
        stream->AddRef();
        received.streamsHeld += stream->Release() - 1;
    }
    return received;
}

void ServiceTest::TearDown()
{
    devices_.reset();
    CoUninitialize();
    LibraryTest::TearDown();
}

void ServiceTest::Use(const DeviceBuilder& device)
{
    DevicePtr built = device.Build();
    id_ = built->Id();
    devices_.reset();
    devices_.emplace(std::move(built));
}

ComPtr<IWiaDevMgr> ServiceTest::Manager1()
{
    ComPtr<IWiaDevMgr> manager;
    CoCreateInstance(CLSID_WiaDevMgr, nullptr, CLSCTX_LOCAL_SERVER, IID_IWiaDevMgr, manager.OutVoid());
    return manager;
}

ComPtr<IWiaDevMgr2> ServiceTest::Manager2()
{
    ComPtr<IWiaDevMgr2> manager;
    CoCreateInstance(CLSID_WiaDevMgr2, nullptr, CLSCTX_LOCAL_SERVER, IID_IWiaDevMgr2, manager.OutVoid());
    return manager;
}

Node ServiceTest::Open(Generation generation, const char* id) const
{
    const Bstr text{WStringView{id ? Wide(id) : id_}};
    ComPtr<IWiaItem> one;
    ComPtr<IWiaItem2> two;
    if (generation == Generation::One) {
        EXPECT_EQ(Manager1()->CreateDevice(text.Get(), one.Out()), S_OK);
        return Node{one};
    }
    EXPECT_EQ(Manager2()->CreateDevice(0, text.Get(), two.Out()), S_OK);
    return Node{two};
}

}  // namespace vorn::wia::test
