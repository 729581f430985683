#include "Client.h"

#include <algorithm>
#include <cstring>

namespace vorn::wia::test {

namespace {

std::string Path(WStringView text)
{
    return std::filesystem::path{std::u16string{text.begin(), text.end()}}.string();
}

HRESULT Record(Received& received, char letter, const Answer& answer)
{
    if (received.messages.empty() || received.messages.back() != letter)
        received.messages += letter;
    ++received.notifications;
    return answer ? answer(received.notifications) : S_OK;
}

template <typename Enumerator, typename Item>
std::vector<Node> ListAll(Enumerator& children)
{
    std::vector<Node> nodes;
    for (ComPtr<Item> item; children.Next(1, item.Out(), nullptr) == S_OK;)
        nodes.emplace_back(item);
    return nodes;
}

}  // namespace

std::string Narrow(WStringView text)
{
    return Path(text);
}

WString Wide(const std::string& text)
{
    return std::filesystem::path{text}.u16string();
}

PROPSPEC Spec(PROPID id)
{
    PROPSPEC spec{};
    spec.ulKind = PRSPEC_PROPID;
    spec.propid = id;
    return spec;
}

IUnknown* Node::Unknown() const
{
    return one_ ? static_cast<IUnknown*>(one_.Get()) : two_.Get();
}

std::vector<Node> Node::Children() const
{
    if (one_) {
        ComPtr<IEnumWiaItem> children;
        EXPECT_EQ(one_->EnumChildItems(children.Out()), S_OK);
        return ListAll<IEnumWiaItem, IWiaItem>(*children.Get());
    }
    ComPtr<IEnumWiaItem2> children;
    EXPECT_EQ(two_->EnumChildItems(nullptr, children.Out()), S_OK);
    return ListAll<IEnumWiaItem2, IWiaItem2>(*children.Get());
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

ComPtr<IWiaPropertyStorage> Node::Storage() const
{
    ComPtr<IWiaPropertyStorage> storage;
    EXPECT_EQ(Unknown()->QueryInterface(IID_IWiaPropertyStorage, storage.OutVoid()), S_OK);
    return storage;
}

Value Node::Read(PROPID id) const
{
    const PROPSPEC spec = Spec(id);
    PROPVARIANT variant{};
    Storage()->ReadMultiple(1, &spec, &variant);
    return Value::Adopt(variant);
}

HRESULT Node::Write(PROPID id, const Value& value) const
{
    const PROPSPEC spec = Spec(id);
    return Storage()->WriteMultiple(1, &spec, &value.Get(), WIA_IPA_FIRST);
}

Value Node::Valid(PROPID id, ULONG* flags) const
{
    PROPSPEC spec = Spec(id);
    PROPVARIANT variant{};
    ULONG access = 0;
    EXPECT_EQ(Storage()->GetPropertyAttributes(1, &spec, flags ? flags : &access, &variant), S_OK);
    return Value::Adopt(variant);
}

HRESULT Node::Banded(IWiaDataCallback& callback, ULONG bufferSize) const
{
    ComPtr<IWiaDataTransfer> transfer;
    EXPECT_EQ(Unknown()->QueryInterface(IID_IWiaDataTransfer, transfer.OutVoid()), S_OK);
    WIA_DATA_TRANSFER_INFO info{};
    info.ulSize = sizeof info;
    info.ulBufferSize = bufferSize;
    return transfer->idtGetBandedData(&info, &callback);
}

HRESULT Node::ToFile(LONG tymed, const std::filesystem::path& file, IWiaDataCallback* callback) const
{
    ComPtr<IWiaDataTransfer> transfer;
    EXPECT_EQ(Unknown()->QueryInterface(IID_IWiaDataTransfer, transfer.OutVoid()), S_OK);
    std::u16string name = file.u16string();
    STGMEDIUM medium{};
    medium.tymed = static_cast<DWORD>(tymed);
    medium.lpszFileName = name.data();
    return transfer->idtGetData(&medium, callback);
}

HRESULT Node::Download(IWiaTransferCallback& callback, LONG flags) const
{
    ComPtr<IWiaTransfer> transfer;
    EXPECT_EQ(Unknown()->QueryInterface(IID_IWiaTransfer, transfer.OutVoid()), S_OK);
    return transfer->Download(flags, &callback);
}

HRESULT BandReceiver::BandedDataCallback(LONG message, LONG, LONG, LONG offset, LONG length, LONG, LONG,
                                         BYTE* data)
{
    if (message == IT_MSG_DATA) {
        if (offset == 0)
            received.pages.emplace_back();
        else
            longestBand = std::max(longestBand, length);
        std::vector<uint8_t>& page = received.pages.back();
        page.resize(std::max(page.size(), size_t(offset) + size_t(length)));
        std::memcpy(page.data() + offset, data, size_t(length));
    }
    return Record(received, " HDSTN"[message], answer_);
}

HRESULT StreamReceiver::TransferCallback(LONG, WiaTransferParams* params)
{
    if (params->lMessage == WIA_TRANSFER_MSG_END_OF_STREAM) {
        HGLOBAL block = nullptr;
        GetHGlobalFromStream(streams_.back().Get(), &block);
        const auto* bytes = static_cast<const uint8_t*>(GlobalLock(block));
        received.pages.emplace_back(bytes, bytes + params->ulTransferredBytes);
        GlobalUnlock(block);
    }
    return Record(received, " SET"[params->lMessage], answer_);
}

HRESULT StreamReceiver::GetNextStream(LONG, BSTR name, BSTR fullName, IStream** stream)
{
    EXPECT_TRUE(name && fullName && WStringView{fullName}.ends_with(WStringView{name}));
    ComPtr<IStream> made;
    CreateStreamOnHGlobal(nullptr, TRUE, made.Out());
    streams_.push_back(made);
    *stream = made.Detach();
    return Record(received, 'G', answer_);
}

ULONG StreamReceiver::StreamsHeld()
{
    ULONG held = 0;
    for (const ComPtr<IStream>& stream : streams_) {
        stream->AddRef();
        held += stream->Release() - 1;
    }
    return held;
}

void ServiceTest::SetUp()
{
    ASSERT_GE(CoInitialize(nullptr), 0);
    alive_ = LiveObjects::Count();
}

void ServiceTest::TearDown()
{
    while (!devices_.empty())
        devices_.pop_back();
    EXPECT_EQ(LiveObjects::Count(), alive_) << "COM objects are left";
    CoUninitialize();
    if (!folder_.empty())
        std::filesystem::remove_all(folder_);
}

void ServiceTest::Use(const DeviceBuilder& device)
{
    DevicePtr built = device.Build();
    id_ = built->Id();
    devices_.push_back(std::make_unique<ScopedDevices>(std::move(built)));
}

ComPtr<IWiaDevMgr> ServiceTest::Manager1() const
{
    ComPtr<IWiaDevMgr> manager;
    CoCreateInstance(CLSID_WiaDevMgr, nullptr, CLSCTX_LOCAL_SERVER, IID_IWiaDevMgr, manager.OutVoid());
    return manager;
}

ComPtr<IWiaDevMgr2> ServiceTest::Manager2() const
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

std::filesystem::path ServiceTest::Folder()
{
    if (folder_.empty()) {
        std::string name = (std::filesystem::temp_directory_path() / "vornwia-XXXXXX").string();
        folder_ = mkdtemp(name.data());
    }
    return folder_;
}

std::vector<CannedPage> Numbered(uint32_t count, uint32_t bitsPerPixel)
{
    std::vector<CannedPage> pages;
    for (uint32_t number = 1; number <= count; ++number)
        pages.push_back(PlainPage(50, 40, bitsPerPixel, static_cast<uint8_t>(number)));
    return pages;
}

}  // namespace vorn::wia::test
