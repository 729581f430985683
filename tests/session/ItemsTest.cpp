/** Items: the root, children, and who owns which reference. */
#include <functional>

#include "Sessions.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;

class ItemsTest : public GenerationTest {};
VORN_IN_BOTH_GENERATIONS(ItemsTest);

constexpr LONG kLeaf = WiaItemTypeFile | WiaItemTypeImage;

/** A device whose root has three children: a folder with two leaves, an empty folder, a leaf with an attachment. */
DeviceBuilder Tree()
{
    ItemDefinition folder = BareItem(VORN_TEXT("Folder"), WiaItemTypeFolder, WIA_CATEGORY_FOLDER);
    folder.children = {BareItem(VORN_TEXT("One"), kLeaf, WIA_CATEGORY_FINISHED_FILE),
                       BareItem(VORN_TEXT("Two"), kLeaf)};
    ItemDefinition leaf =
        BareItem(VORN_TEXT("Leaf"), kLeaf | WiaItemTypeHasAttachments, WIA_CATEGORY_FLATBED);
    leaf.children = {BareItem(VORN_TEXT("Sound"), WiaItemTypeFile)};
    return DeviceBuilder{StiDeviceTypeDigitalCamera}
        .Child(std::move(folder))
        .Child(BareItem(VORN_TEXT("Empty"), WiaItemTypeFolder))
        .Child(std::move(leaf));
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
    const OpenSession& session = Open(Tree());
    const WiaItemHandle first = session.Root();
    const ULONG references = ReferencesOf(first);
    EXPECT_EQ(session.Root(), first);
    EXPECT_EQ(ReferencesOf(first), references);
}

TEST_P(ItemsTest, ConsumesTheItemWhoseRootIsAsked)
{
    struct Row {
        const char* fault;
        DeviceBuilder device;
        int32_t status;
    };
    const Row rows[] = {
        {"the root carries no reference", Tree(), SUCCESS},
        {"a failure keeps the item", Tree().FailAt(Step::GetRootItem, WIA_ERROR_BUSY), ERR_WIA_BUSY},
        {"S_FALSE is success", Tree().FailAt(Step::GetRootItem, S_FALSE), RESULT_FALSE},
        {"a null root is success", Tree().NullAt(Step::GetRootItem), ERR_WIA_UNEXPECTED},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const OpenSession& session = Open(row.device);
        Children children{session};
        ASSERT_EQ(children.Enumerate(session.Root()), SUCCESS);

        const ComPtr<IUnknown> watched{reinterpret_cast<IUnknown*>(children.items.back())};
        const WiaItemHandle child = std::exchange(children.items.back(), nullptr);
        const ULONG references = ReferencesOf(child);
        WiaItemHandle root = child;
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
    const OpenSession& other = Open(Tree());
    const OpenSession session{Version()};
    const WiaItemHandle item = other.Root();
    const ULONG references = ReferencesOf(item);
    Children children{session};
    const ScopedCallLog log;

    const auto rootAfter = [](WiaSession* of, WiaItemHandle child, int32_t status) {
        WiaItemHandle root = reinterpret_cast<WiaItemHandle>(&status);
        EXPECT_EQ(Vorn_WiaGetRootItem(of, child, &root), status);
        return root;
    };
    EXPECT_EQ(rootAfter(nullptr, item, ERR_INVALID_ARGUMENT), nullptr);
    EXPECT_EQ(Vorn_WiaGetRootItem(other, item, nullptr), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(rootAfter(session, item, ERR_NO_DEVICE_SELECTED), nullptr);
    EXPECT_EQ(rootAfter(session, nullptr, ERR_NO_DEVICE_SELECTED), nullptr);
    EXPECT_EQ(Vorn_WiaFreeItem(nullptr, item), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaFreeItem(session, nullptr), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaEnumChildItems(nullptr, item, Children::Callback, &children), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(children.Enumerate(nullptr), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(children.Enumerate(item), ERR_NO_DEVICE_SELECTED);

    EXPECT_EQ(log.Lines(), std::vector<std::string>{}) << "the platform was called";
    EXPECT_EQ(ReferencesOf(item), references);
}

TEST_P(ItemsTest, ListsDirectChildrenOfEveryCategory)
{
    const OpenSession& session = Open(Tree());
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
    const OpenSession& session = Open(Tree());
    for (const auto& [answer, at] : {std::pair{-100, 2u}, {0, 1u}, {-5, 3u}, {INT32_MIN, 2u}, {101, 3u}}) {
        Children children{session};
        children.answer = [&](size_t calls) { return calls == at ? answer : 1; };
        EXPECT_EQ(children.Enumerate(session.Root()), answer);
        EXPECT_EQ(children.items.size(), at) << answer;
    }
}

TEST_P(ItemsTest, FindsNoChildrenWhereNoneCanBe)
{
    const OpenSession& session = Open(Tree());
    Children children{session}, empty{session}, attached{session}, leaf{session};
    ASSERT_EQ(children.Enumerate(session.Root()), SUCCESS);
    ASSERT_EQ(children.items.size(), 3u);
    EXPECT_EQ(empty.Enumerate(children.items[1]), ERR_NO_CHILD_ITEMS);
    EXPECT_EQ(attached.Enumerate(children.items[2]), SUCCESS);
    ASSERT_EQ(attached.items.size(), 1u);

    const ScopedCallLog log;
    EXPECT_EQ(leaf.Enumerate(attached.items[0]), ERR_NO_CHILD_ITEMS);
    EXPECT_EQ(log.Count("Sound.EnumChildItems"), 0u) << "a leaf is asked for its children";
}

TEST_P(ItemsTest, TellsWhichStepFailed)
{
    struct Row {
        const char* fault;
        DeviceBuilder device;
        int32_t status;
        size_t calls;
    };
    constexpr Step type = Step::GetItemType, list = Step::EnumChildItems, next = Step::NextChildItem;
    const Row rows[] = {
        {"the type cannot be read", Tree().FailAt(type, WIA_ERROR_BUSY), ERR_WIA_BUSY, 0},
        {"no type is a leaf's", Tree().FailAt(type, S_FALSE), RESULT_FALSE, 0},
        {"no enumerator", Tree().FailAt(list, E_ACCESSDENIED), ERR_ACCESS_DENIED, 0},
        {"a null enumerator is used", Tree().NullAt(list), ERR_WIA_UNEXPECTED, 0},
        {"no count is a count", Tree().FailAt(Step::GetChildCount, E_FAIL), ERR_NO_CHILD_ITEMS, 0},
        {"the second child fails", Tree().FailAt(next, WIA_ERROR_OFFLINE, 2), ERR_WIA_OFFLINE, 1},
        {"an early end is a failure", Tree().FailAt(next, S_FALSE, 3), SUCCESS, 2},
        {"a null child is handed out", Tree().NullAt(next, 2), ERR_WIA_UNEXPECTED, 1},
        {"a device without a type is walked", Tree().NoType(), RESULT_FALSE, 0},
        {"a device without properties is walked", Tree().FailAt(Step::QueryPropertyStorage, E_NOINTERFACE),
         ERR_WIA_UNEXPECTED, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        const OpenSession& session = Open(row.device);
        Children children{session};
        EXPECT_EQ(children.Enumerate(session.Root()), row.status);
        EXPECT_EQ(children.items.size(), row.calls);
    }
}

}  // namespace
}  // namespace vorn::test
