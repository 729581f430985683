/** The library on the system's own image-acquisition service. Wine has that of the first generation, without devices. */
#include <gtest/gtest.h>

#include "Vornkrnx.h"
#include "vornwia.h"

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

TEST_F(SystemService, OpensManySessionsOneAfterTheOther)
{
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(Vorn_WiaIsAvailable(1), SUCCESS) << i;
}

}  // namespace
}  // namespace vorn::test
