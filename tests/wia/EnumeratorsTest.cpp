// Every enumerator keeps its place, its copies and its references.
#include "Client.h"
#include "wia/model/ImageFormats.h"

namespace vorn::wia::test {

namespace {

class Enumerators : public ServiceTest {};

void Free(IUnknown* object)
{
    object->Release();
}
void Free(const WIA_FORMAT_INFO&) {}
void Free(const WIA_DEV_CAP& element)
{
    for (BSTR text : {element.bstrName, element.bstrDescription, element.bstrIcon, element.bstrCommandline})
        SysFreeString(text);
}
void Free(const STATPROPSTG& element)
{
    CoTaskMemFree(element.lpwstrName);
}

/** A list of `total` elements, three or more. */
template <typename Element, typename Enumerator>
void CheckEnumerator(Enumerator& list, ULONG total, const char* what)
{
    SCOPED_TRACE(what);
    std::vector<Element> elements(total + 1);
    ULONG fetched = 99;
    EXPECT_EQ(list.Next(total + 1, elements.data(), &fetched), S_FALSE) << "more than there are";
    ASSERT_EQ(fetched, total);
    for (ULONG i = 0; i < fetched; ++i)
        Free(elements[i]);
    EXPECT_EQ(list.Next(1, elements.data(), nullptr), S_FALSE) << "past the end";

    EXPECT_EQ(list.Reset(), S_OK);
    EXPECT_EQ(list.Skip(total - 1), S_OK);
    ComPtr<Enumerator> copy;
    ASSERT_EQ(list.Clone(copy.Out()), S_OK);
    EXPECT_EQ(list.Next(1, elements.data(), nullptr), S_OK) << "the last one";
    Free(elements[0]);
    EXPECT_EQ(copy->Next(1, elements.data(), &fetched), S_OK) << "a copy begins where its model stood";
    Free(elements[0]);
    EXPECT_EQ(copy->Skip(1), S_FALSE);

    list.Reset();
    EXPECT_EQ(list.Skip(total + 5), S_FALSE);
    EXPECT_EQ(list.Next(1, nullptr, &fetched), E_POINTER);
    EXPECT_EQ(list.Next(2, elements.data(), nullptr), E_INVALIDARG) << "two without telling how many";
    EXPECT_EQ(list.Clone(nullptr), E_POINTER);
    if constexpr (requires { list.GetCount(&fetched); }) {
        EXPECT_EQ(list.GetCount(&fetched), S_OK);
        EXPECT_EQ(fetched, total) << "the count does not depend on the place";
        EXPECT_EQ(list.GetCount(nullptr), E_POINTER);
    }
}

TEST_F(Enumerators, KeepPlaceCopiesAndCounts)
{
    ComPtr<IEnumWIA_DEV_INFO> devices;
    ASSERT_EQ(Manager1()->EnumDeviceInfo(WIA_DEVINFO_ENUM_LOCAL, devices.Out()), S_OK);
    CheckEnumerator<IWiaPropertyStorage*>(*devices.Get(), 4, "devices");

    const Node camera = Open(Generation::One, "virtual:camera");
    ComPtr<IEnumWiaItem> items;
    ASSERT_EQ(camera.One()->EnumChildItems(items.Out()), S_OK);
    CheckEnumerator<IWiaItem*>(*items.Get(), 3, "items");

    const Node pictures = Open(Generation::Two, "virtual:camera").Child("Pictures");
    ComPtr<IEnumWiaItem2> items2;
    ASSERT_EQ(pictures.Two()->EnumChildItems(&WIA_CATEGORY_FINISHED_FILE, items2.Out()), S_OK);
    CheckEnumerator<IWiaItem2*>(*items2.Get(), 3, "items of a category");

    const auto transfer = pictures.Children()[0].As<IWiaTransfer>(IID_IWiaTransfer);
    ComPtr<IEnumWIA_FORMAT_INFO> formats;
    ASSERT_EQ(transfer->EnumWIA_FORMAT_INFO(formats.Out()), S_OK);
    CheckEnumerator<WIA_FORMAT_INFO>(
        *formats.Get(), static_cast<ULONG>(ImageFormats(Generation::Two, false).size()), "formats");

    ComPtr<IEnumWIA_DEV_CAPS> capabilities;
    ASSERT_EQ(
        camera.One()->EnumDeviceCapabilities(WIA_DEVICE_COMMANDS | WIA_DEVICE_EVENTS, capabilities.Out()),
        S_OK);
    CheckEnumerator<WIA_DEV_CAP>(*capabilities.Get(), 3, "commands and events");

    ULONG count = 0;
    EXPECT_EQ(camera.Storage()->GetCount(&count), S_OK);
    ComPtr<IEnumSTATPROPSTG> properties;
    ASSERT_EQ(camera.Storage()->Enum(properties.Out()), S_OK);
    CheckEnumerator<STATPROPSTG>(*properties.Get(), count, "properties");
}

TEST_F(Enumerators, OutliveWhatTheyList)
{
    ComPtr<IEnumWiaItem2> children;
    {
        const Node root = Open(Generation::Two, "virtual:scanner");
        ASSERT_EQ(root.Two()->EnumChildItems(nullptr, children.Out()), S_OK);
    }
    ComPtr<IWiaItem2> item;
    ASSERT_EQ(children->Next(1, item.Out(), nullptr), S_OK);
    children.Reset();
    ComPtr<IWiaItem2> root;
    EXPECT_EQ(item->GetRootItem(root.Out()), S_OK) << "an item keeps its tree";
    ComPtr<IWiaItem2> again;
    EXPECT_EQ(item->GetParentItem(again.Out()), S_OK);
    EXPECT_EQ(root.Get(), again.Get()) << "an item has one identity";
}

TEST_F(Enumerators, FailureInTheMiddleGivesBackWhatWasFetched)
{
    Use(VirtualCamera()
            .FailAt(Step::NextChildItem, WIA_ERROR_BUSY, 3)
            .NullAt(Step::NextChildItem, 6)
            .FailAt(Step::GetChildCount, E_FAIL));
    const Node camera = Open(Generation::One);
    ComPtr<IEnumWiaItem> items;
    ASSERT_EQ(camera.One()->EnumChildItems(items.Out()), S_OK);
    ULONG fetched = 99;
    EXPECT_EQ(items->GetCount(&fetched), E_FAIL);
    IWiaItem* three[3] = {};
    EXPECT_EQ(items->Next(3, three, &fetched), WIA_ERROR_BUSY);
    EXPECT_EQ(fetched, 0u);
    EXPECT_EQ(three[0], nullptr);
    EXPECT_EQ(items->Next(2, three, &fetched), S_OK) << "the place is that of before";
    three[0]->Release();
    three[1]->Release();
    EXPECT_EQ(items->Next(1, three, nullptr), S_OK);
    EXPECT_EQ(three[0], nullptr) << "success with a null object, as told";
}

}  // namespace

}  // namespace vorn::wia::test
