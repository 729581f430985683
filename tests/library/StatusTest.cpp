/** The one mapping from platform results to status codes. */
#include <gtest/gtest.h>

#include "vornwia/Internal.h"

namespace vorn {
namespace {

TEST(StatusMap, NamesEveryPlatformResultAndPassesItsOwnCodesThrough)
{
    struct Row {
        uint32_t result;
        int32_t status;
    };
    constexpr Row rows[] = {
        {0, SUCCESS},
        {1, RESULT_FALSE},
        {0x80070057, -13},
        {0x80070005, -1473},
        {0x80210001, -1450},
        {0x80210002, -1451},
        {0x80210003, -1452},
        {0x80210004, -1453},
        {0x80210005, -1454},
        {0x80210006, -1455},
        {0x80210007, -1456},
        {0x80210008, -1457},
        {0x80210009, -1458},
        {0x8021000A, -1459},
        {0x8021000B, -1460},
        {0x8021000C, -1461},
        {0x8021000D, -1462},
        {0x8021000E, -1463},
        {0x8021000F, -1464},
        {0x80210010, -1465},
        {0x80210011, -1466},
        {0x80210012, -1467},
        {0x80210013, -1468},
        {0x80210014, -1475},  // a multi-feed has no code of its own
        {0x80210015, -1469},
        {static_cast<uint32_t>(-100), -100},
        {static_cast<uint32_t>(-261), -261},
        {static_cast<uint32_t>(-290), -290},
        {static_cast<uint32_t>(-295), -295},
        {static_cast<uint32_t>(-1474), -1474},
        // Whatever else the library or the platform may say is unexpected.
        {static_cast<uint32_t>(-1), -1475},
        {static_cast<uint32_t>(-13), -1475},
        {static_cast<uint32_t>(-1473), -1475},
        {0x80004005, -1475},
        {0x80210000, -1475},
        {0x80210016, -1475},
        {2, -1475},
        {0x00210001, -1475},
    };
    for (const Row& row : rows)
        EXPECT_EQ(MapWiaResult(static_cast<HRESULT>(row.result)), row.status) << std::hex << row.result;
}

}  // namespace
}  // namespace vorn
