#include <atomic>
#include <thread>
#include <vector>

#include "OleTest.h"
#include "ole/ClassTable.h"

namespace vorn::test {
namespace {

constexpr CLSID kClass = {0x7D2C5B14, 0x3A61, 0x4F0E, {0x9B, 0x21, 0x60, 0x48, 0xAF, 0x03, 0x77, 0xD5}};

/** Creates objects and counts its requests. */
class CountingFactory final : public ComObject<IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override
    {
        ++requests;
        return outer ? CLASS_E_NOAGGREGATION : MakeComObject<Nothing>(iid, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

    std::atomic<int> requests{0};
};

struct Announced {
    explicit Announced(DWORD flags = REGCLS_MULTIPLEUSE)
        : factory{ComPtr<CountingFactory>::Adopt(new CountingFactory)}
    {
        EXPECT_EQ(CoRegisterClassObject(kClass, factory.Get(), CLSCTX_ALL, flags, &cookie), S_OK);
    }
    ~Announced() { CoRevokeClassObject(cookie); }

    ComPtr<CountingFactory> factory;
    DWORD cookie = 0;
};

HRESULT Create(REFCLSID clsid, IUnknown* outer = nullptr)
{
    ComPtr<IUnknown> object;
    const HRESULT result =
        CoCreateInstance(clsid, outer, CLSCTX_LOCAL_SERVER, IID_IUnknown, object.OutVoid());
    EXPECT_EQ(SUCCEEDED(result), static_cast<bool>(object));
    return result;
}

TEST(Apartment, NestedEntriesNeedAsManyExits)
{
    std::thread{[] {
        int reserved = 0;
        EXPECT_EQ(CoInitialize(&reserved), E_INVALIDARG);
        EXPECT_EQ(CoInitializeEx(nullptr, 0x40), E_INVALIDARG) << "a flag that nobody knows";
        EXPECT_EQ(CoInitialize(nullptr), S_OK);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE), S_FALSE);
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE);
        CoUninitialize();
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), RPC_E_CHANGED_MODE) << "left too early";
        CoUninitialize();
        CoUninitialize();  // one too many is ignored
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        CoUninitialize();
    }}.join();
}

TEST(Apartment, IsNeededForClasses)
{
    std::thread{[] { EXPECT_EQ(CoInitialize(nullptr), S_OK); }}.join();  // its end counts as leaving
    EXPECT_EQ(Create(kClass), CO_E_NOTINITIALIZED);
    DWORD cookie = 1;
    const auto object = ComPtr<Nothing>::Adopt(new Nothing);
    EXPECT_EQ(CoRegisterClassObject(kClass, object.Get(), CLSCTX_ALL, REGCLS_MULTIPLEUSE, &cookie),
              CO_E_NOTINITIALIZED);
}

class Classes : public OleTest {
protected:
    void SetUp() override { ASSERT_GE(CoInitialize(nullptr), 0); }
    void TearDown() override
    {
        CoUninitialize();
        OleTest::TearDown();
    }
};

TEST_F(Classes, LatestAnnouncementServesUntilRevoked)
{
    Announced first;
    {
        Announced second;
        EXPECT_EQ(Create(kClass), S_OK);
        EXPECT_EQ(second.factory->requests, 1);
        EXPECT_EQ(CoRevokeClassObject(second.cookie), S_OK);
        EXPECT_EQ(CoRevokeClassObject(second.cookie), E_INVALIDARG);
    }
    EXPECT_EQ(Create(kClass), S_OK);
    EXPECT_EQ(first.factory->requests, 1);
}

TEST_F(Classes, FailuresPassThroughWithNoObject)
{
    EXPECT_EQ(Create(kClass), REGDB_E_CLASSNOTREG);
    Announced announced{REGCLS_SINGLEUSE};
    const auto outer = ComPtr<Nothing>::Adopt(new Nothing);
    EXPECT_EQ(Create(kClass, outer.Get()), CLASS_E_NOAGGREGATION);
    EXPECT_EQ(Create(kClass), REGDB_E_CLASSNOTREG) << "a single use served a second request";
    EXPECT_EQ(CoCreateInstance(kClass, nullptr, CLSCTX_ALL, IID_IUnknown, nullptr), E_POINTER);
}

TEST_F(Classes, AnnouncedOneComesBeforeBuiltIn)
{
    ole::RegisterBuiltInClass(kClass, MakeComObject<ComClassFactory<Nothing>>);
    EXPECT_EQ(Create(kClass), S_OK);
    {
        Announced announced;
        EXPECT_EQ(Create(kClass), S_OK);
        EXPECT_EQ(announced.factory->requests, 1);
    }
    EXPECT_EQ(Create(kClass), S_OK) << "the built-in class is gone";
    ole::RegisterBuiltInClass(kClass, [](REFIID, void**) { return REGDB_E_CLASSNOTREG; });
    EXPECT_EQ(Create(kClass), REGDB_E_CLASSNOTREG) << "the later maker does not replace the earlier";
}

TEST_F(Classes, ThreadsMayAnnounceCreateAndRevokeAtOnce)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            for (int round = 0; round < 200; ++round) {
                Announced announced;
                EXPECT_EQ(Create(kClass), S_OK);
            }
            CoUninitialize();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(Classes, ObjectAnswersToItsInterfacesAndTheirBases)
{
    const auto object = ComPtr<Nothing>::Adopt(new Nothing);
    for (REFIID iid : {IID_IUnknown, IID_ISequentialStream}) {
        ComPtr<IUnknown> answer;
        EXPECT_EQ(object->QueryInterface(iid, answer.OutVoid()), S_OK);
    }
    void* stale = &stale;
    EXPECT_EQ(object->QueryInterface(IID_IStream, &stale), E_NOINTERFACE);
    EXPECT_EQ(stale, nullptr);
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

}  // namespace
}  // namespace vorn::test
