/** Items: the root, children, and who owns which reference. */
#include <functional>

#include "Sessions.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;

class ItemsTest : public GenerationTest {};
VORN_IN_BOTH_GENERATIONS(ItemsTest);

constexpr LONG kLeaf = WiaItemTypeFile | WiaItemTypeImage;

/** A device `d` whose root has three children: a folder with two leaves, an empty folder, a leaf. */
DeviceBuilder Tree()
{
    ItemDefinition folder = BareItem(VORN_TEXT("Folder"), WiaItemTypeFolder, WIA_CATEGORY_FOLDER);
    folder.children = {BareItem(VORN_TEXT("One"), kLeaf, WIA_CATEGORY_FINISHED_FILE),
                       BareItem(VORN_TEXT("Two"), kLeaf)};
    return DeviceBuilder{StiDeviceTypeDigitalCamera}
        .Id(VORN_TEXT("d"))
        .Child(std::move(folder))
        .Child(BareItem(VORN_TEXT("Empty"), WiaItemTypeFolder))
        .Child(BareItem(VORN_TEXT("Leaf"), kLeaf, WIA_CATEGORY_FLATBED));
}

/** An application that keeps the children it is given, and frees them in the end. */
struct Children {
    explicit Children(WiaSession* owner) : session{owner} {}
    Children(const Children&) = delete;
    ~Children()
    {
        for (WiaItemHandle item : items)
            Vorn_WiaFreeItem(session, item);
    }

    static int32_t Callback(WiaSession* heard, uint32_t count, WiaItemHandle item, void* data)
    {
        auto* children = static_cast<Children*>(data);
        EXPECT_EQ(heard, children->session);
        children->counts.push_back(count);
        children->items.push_back(item);
        return children->answer(children->items.size());
    }

    int32_t Enumerate(WiaItemHandle parent)
    {
        return Vorn_WiaEnumChildItems(session, parent, Callback, this);
    }

    /** Gives a child away. */
    WiaItemHandle Take(size_t index)
    {
        WiaItemHandle item = items.at(index);
        items.erase(items.begin() + static_cast<ptrdiff_t>(index));
        return item;
    }

    WiaSession* session;
    std::vector<uint32_t> counts;
    std::vector<WiaItemHandle> items;
    std::function<int32_t(size_t)> answer = [](size_t) { return 1; };
};

std::string NameOf(WiaSession* session, WiaItemHandle item)
{
    WCHAR name[64] = {};
    uint64_t size = 64;
    EXPECT_EQ(Vorn_WiaGetPropertyString(session, item, nullptr, WIA_IPA_ITEM_NAME, name, &size), SUCCESS);
    return Narrow(name);
}

TEST_P(ItemsTest, LendsTheRootWithoutAReference)
{
    const ScopedDevices devices{Tree().Build()};
    const OpenSession session{Version(), VORN_TEXT("d")};
    WiaItemHandle first = nullptr, second = nullptr;
    EXPECT_EQ(Vorn_WiaGetRootItem(session, nullptr, &first), SUCCESS);
    const ULONG references = ReferencesOf(first);
    EXPECT_EQ(Vorn_WiaGetRootItem(session, nullptr, &second), SUCCESS);
    EXPECT_EQ(second, first);
    EXPECT_EQ(ReferencesOf(first), references);
}

TEST_P(ItemsTest, ConsumesTheItemWhoseRootIsAsked)
{
    struct Row {
        const char* fault;
        HRESULT answer;
        bool nullObject;
        int32_t status;
    };
    constexpr Row rows[] = {
        {"the root carries no reference", S_OK, false, SUCCESS},
        {"a failure keeps the item", WIA_ERROR_BUSY, false, ERR_WIA_BUSY},
        {"S_FALSE is success", S_FALSE, false, RESULT_FALSE},
        {"a null root is success", S_OK, true, ERR_WIA_UNEXPECTED},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        DeviceBuilder device = Tree();
        if (row.nullObject)
            device.NullAt(Step::GetRootItem);
        else if (row.answer != S_OK)
            device.FailAt(Step::GetRootItem, row.answer);
        const ScopedDevices devices{device.Build()};
        const OpenSession session{Version(), VORN_TEXT("d")};
        Children children{session};
        ASSERT_EQ(children.Enumerate(session.Root()), SUCCESS);

        const WiaItemHandle child = children.Take(2);
        const ComPtr<IUnknown> watched{reinterpret_cast<IUnknown*>(child)};
        const ULONG references = ReferencesOf(child);
        WiaItemHandle root = nullptr;
        EXPECT_EQ(Vorn_WiaGetRootItem(session, child, &root), row.status);
        EXPECT_EQ(ReferencesOf(child), references - 1);
        EXPECT_EQ(root != nullptr, row.status == SUCCESS);
        if (root) {
            EXPECT_EQ(NameOf(session, root), "Root");
            EXPECT_EQ(Vorn_WiaFreeItem(session, root), SUCCESS);
        }
    }
}

TEST_P(ItemsTest, ChecksItsArgumentsBeforeItTouchesAnItem)
{
    const ScopedDevices devices{Tree().Build()};
    const OpenSession other{Version(), VORN_TEXT("d")};
    const OpenSession session{Version()};
    const WiaItemHandle item = other.Root();
    const ULONG references = ReferencesOf(item);
    WiaItemHandle root = nullptr;
    const ScopedCallLog log;

    EXPECT_EQ(Vorn_WiaGetRootItem(nullptr, item, &root), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaGetRootItem(other, item, nullptr), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaGetRootItem(session, item, &root), ERR_NO_DEVICE_SELECTED);
    EXPECT_EQ(Vorn_WiaGetRootItem(session, nullptr, &root), ERR_NO_DEVICE_SELECTED);
    EXPECT_EQ(Vorn_WiaFreeItem(nullptr, item), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaFreeItem(session, nullptr), ERR_INVALID_ARGUMENT);
    Children children{session};
    EXPECT_EQ(Vorn_WiaEnumChildItems(nullptr, item, Children::Callback, &children), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaEnumChildItems(session, nullptr, Children::Callback, &children), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(children.Enumerate(item), ERR_NO_DEVICE_SELECTED);

    EXPECT_TRUE(log.Lines().empty()) << "the platform was called: " << log.Lines().front();
    EXPECT_EQ(root, nullptr);
    EXPECT_EQ(ReferencesOf(item), references);
}

TEST_P(ItemsTest, ListsDirectChildrenOfEveryCategory)
{
    const ScopedDevices devices{Tree().Build()};
    const OpenSession session{Version(), VORN_TEXT("d")};
    std::vector<std::string> names;
    Children children{session};
    children.answer = [&](size_t calls) {
        names.push_back(NameOf(session, children.items.back()));
        if (calls == 1) {  // a folder is walked from inside the callback
            Children inner{session};
            EXPECT_EQ(inner.Enumerate(children.items.back()), SUCCESS);
            EXPECT_EQ(inner.counts, (std::vector<uint32_t>{2, 2}));
            for (WiaItemHandle item : inner.items)
                names.push_back(NameOf(session, item));
        }
        return 1;
    };
    EXPECT_EQ(children.Enumerate(session.Root()), SUCCESS);
    EXPECT_EQ(names, (std::vector<std::string>{"Folder", "One", "Two", "Empty", "Leaf"}));
    EXPECT_EQ(children.counts, (std::vector<uint32_t>{3, 3, 3}));
    for (WiaItemHandle item : children.items)
        EXPECT_EQ(ReferencesOf(item), 1u) << "a child carries a reference that nobody frees";
    EXPECT_EQ(Vorn_WiaEnumChildItems(session, session.Root(), nullptr, nullptr), SUCCESS)
        << "a null callback only counts";
}

TEST_P(ItemsTest, StopsWithTheAnswerOfTheCallback)
{
    struct Row {
        int32_t answer;
        size_t at;
    };
    constexpr Row rows[] = {{-100, 2}, {0, 1}, {5, 1}, {-5, 3}, {-1474, 1}, {INT32_MIN, 2}, {101, 3}};
    const ScopedDevices devices{Tree().Build()};
    const OpenSession session{Version(), VORN_TEXT("d")};
    for (const Row& row : rows) {
        Children children{session};
        children.answer = [&](size_t calls) { return calls == row.at ? row.answer : 1; };
        EXPECT_EQ(children.Enumerate(session.Root()), row.answer);
        EXPECT_EQ(children.items.size(), row.at) << row.answer;
    }
}

TEST_P(ItemsTest, FindsNoChildrenWhereNoneCanBe)
{
    const ScopedDevices devices{Tree()
                                    .EditItem(VORN_TEXT("Leaf"),
                                              [](ItemDefinition& item) {
                                                  item.type |= WiaItemTypeHasAttachments;
                                                  item.children = {
                                                      BareItem(VORN_TEXT("Sound"), WiaItemTypeFile)};
                                              })
                                    .Build()};
    const OpenSession session{Version(), VORN_TEXT("d")};
    Children children{session};
    ASSERT_EQ(children.Enumerate(session.Root()), SUCCESS);
    ASSERT_EQ(children.items.size(), 3u);

    Children empty{session}, attached{session}, leaf{session};
    EXPECT_EQ(empty.Enumerate(children.items[1]), ERR_NO_CHILD_ITEMS);
    EXPECT_EQ(attached.Enumerate(children.items[2]), SUCCESS);
    EXPECT_EQ(attached.items.size(), 1u);
    ASSERT_FALSE(attached.items.empty());

    const ScopedCallLog log;
    EXPECT_EQ(leaf.Enumerate(attached.items[0]), ERR_NO_CHILD_ITEMS);
    EXPECT_EQ(log.Count("Sound.EnumChildItems"), 0u) << "a leaf is asked for its children";
}

TEST_P(ItemsTest, TellsWhichStepFailed)
{
    struct Row {
        const char* fault;
        Step step;
        Fault answer;
        unsigned nth;
        int32_t status;
        size_t calls;
    };
    const Row rows[] = {
        {"the type cannot be read", Step::GetItemType, {WIA_ERROR_BUSY}, 1, ERR_WIA_BUSY, 0},
        {"no type is a leaf's", Step::GetItemType, {S_FALSE}, 1, RESULT_FALSE, 0},
        {"no enumerator", Step::EnumChildItems, {E_ACCESSDENIED}, 1, ERR_ACCESS_DENIED, 0},
        {"a null enumerator is used", Step::EnumChildItems, {S_OK, true}, 1, ERR_WIA_UNEXPECTED, 0},
        {"no count is a count", Step::GetChildCount, {E_FAIL}, 1, ERR_NO_CHILD_ITEMS, 0},
        {"the second child fails", Step::NextChildItem, {WIA_ERROR_OFFLINE}, 2, ERR_WIA_OFFLINE, 1},
        {"an early end is a failure", Step::NextChildItem, {S_FALSE}, 3, SUCCESS, 2},
        {"a null child is handed out", Step::NextChildItem, {S_OK, true}, 2, ERR_WIA_UNEXPECTED, 1},
        {"an item without storage has a type",
         Step::QueryPropertyStorage,
         {E_NOINTERFACE},
         1,
         ERR_WIA_UNEXPECTED,
         0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        DeviceBuilder device = Tree();
        row.answer.nullObject ? device.NullAt(row.step, row.nth)
                              : device.FailAt(row.step, row.answer.result, row.nth);
        const ScopedDevices devices{device.Build()};
        const OpenSession session{Version(), VORN_TEXT("d")};
        Children children{session};
        EXPECT_EQ(children.Enumerate(session.Root()), row.status);
        EXPECT_EQ(children.items.size(), row.calls);
    }
}

TEST_P(ItemsTest, NeedsADeviceThatTellsItsType)
{
    const ScopedDevices devices{Tree().NoType().Build()};
    const OpenSession session{Version(), VORN_TEXT("d")};
    Children children{session};
    EXPECT_EQ(children.Enumerate(session.Root()), RESULT_FALSE);
    EXPECT_TRUE(children.items.empty());
}

}  // namespace
}  // namespace vorn::test
