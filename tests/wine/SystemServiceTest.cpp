/** The library on the system's own image-acquisition service. Wine has that of the first generation, without devices. */
#include <gtest/gtest.h>

#include <thread>

#include "Vornkrnx.h"
#include "vornwia.h"

#include <objbase.h>

namespace vorn::test {
namespace {

class SystemService : public ::testing::Test {
    void TearDown() override { EXPECT_EQ(KrnTrackedCount(), 0u) << "something is left"; }
};

int32_t CountDevice(WiaSession*, const WiaDeviceInfo*, void* count)
{
    ++*static_cast<int*>(count);
    return SUCCESS;
}

TEST_F(SystemService, TellsWhichGenerationsAreThere)
{
    EXPECT_EQ(Vorn_WiaIsAvailable(1), SUCCESS);
    EXPECT_EQ(Vorn_WiaIsAvailable(2), RESULT_FALSE);
    auto* session = reinterpret_cast<WiaSession*>(this);
    EXPECT_EQ(Vorn_WiaInitSession(2, &session), RESULT_FALSE);
    EXPECT_EQ(session, nullptr);
}

TEST_F(SystemService, ListsNoDeviceAndFailsCleanly)
{
    WiaSession* session = nullptr;
    ASSERT_EQ(Vorn_WiaInitSession(1, &session), SUCCESS);
    int count = 0;
    // The enumerator is there; Wine answers E_NOTIMPL to its Next.
    EXPECT_EQ(Vorn_WiaEnumDevices(session, CountDevice, &count), ERR_WIA_UNEXPECTED);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(Vorn_WiaGetSelectedDevice(session), nullptr);
    uint32_t type = 0;
    EXPECT_EQ(Vorn_WiaGetSelectedDeviceType(session, &type), ERR_NO_DEVICE_SELECTED);
    EXPECT_EQ(Vorn_WiaEndSession(session), SUCCESS);
}

TEST_F(SystemService, RefusesADeviceThatIsNotThere)
{
    WiaSession* session = nullptr;
    ASSERT_EQ(Vorn_WiaInitSession(1, &session), SUCCESS);
    EXPECT_LT(Vorn_WiaSelectDevice(session, VORN_TEXT("{6BDD1FC6-810F-11D0-BEC7-08002BE2092F}\\0000")), 0);
    EXPECT_EQ(Vorn_WiaGetSelectedDevice(session), nullptr);
    EXPECT_EQ(Vorn_WiaEndSession(session), SUCCESS);
}

/** True while the thread is in an apartment of the model that `other` is not. */
bool InApartment(DWORD other)
{
    const HRESULT result = CoInitializeEx(nullptr, other);
    if (SUCCEEDED(result))
        CoUninitialize();
    return result == RPC_E_CHANGED_MODE;
}

/** Sessions one in the other, none for want of the service or of memory, and the availability test. */
void UseSessions(uint32_t version, DWORD otherModel)
{
    const int32_t expected = version == 1 ? SUCCESS : RESULT_FALSE;
    WiaSession *outer = nullptr, *inner = nullptr;
    EXPECT_EQ(Vorn_WiaInitSession(version, &outer), expected);
    EXPECT_EQ(Vorn_WiaInitSession(version, &inner), expected);
    if (version == 1) {
        EXPECT_TRUE(InApartment(otherModel));
        EXPECT_EQ(Vorn_WiaEndSession(inner), SUCCESS);
        EXPECT_TRUE(InApartment(otherModel)) << "the outer session's entry was undone";
        EXPECT_EQ(Vorn_WiaEndSession(outer), SUCCESS);
    }
    EXPECT_EQ(Vorn_WiaIsAvailable(version), expected);
    KrnFailAllocations(1, UINT64_MAX);
    EXPECT_EQ(Vorn_WiaInitSession(version, &outer), ERR_OUT_OF_MEMORY);
    KrnFailAllocations(0, 0);
}

TEST_F(SystemService, LeavesTheApartmentAsOftenAsItEnteredIt)
{
    for (const DWORD model : {COINIT_APARTMENTTHREADED, COINIT_MULTITHREADED})
        for (const int entries : {0, 1, 3})
            for (const uint32_t version : {1u, 2u}) {
                SCOPED_TRACE(testing::Message() << model << ", entered before: " << entries);
                const DWORD other = model == COINIT_MULTITHREADED && entries > 0 ? COINIT_APARTMENTTHREADED
                                                                                 : COINIT_MULTITHREADED;
                std::thread{[=] {
                    for (int i = 0; i < entries; ++i)
                        CoInitializeEx(nullptr, model);
                    UseSessions(version, other);
                    for (int i = 0; i < entries; ++i) {
                        EXPECT_TRUE(InApartment(other)) << "an entry of the application was undone";
                        CoUninitialize();
                    }
                    EXPECT_FALSE(InApartment(other)) << "an entry was left behind";
                }}.join();
            }
}

TEST_F(SystemService, OpensManySessionsOneAfterTheOther)
{
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(Vorn_WiaIsAvailable(1), SUCCESS) << i;
}

}  // namespace
}  // namespace vorn::test
