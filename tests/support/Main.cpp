#include <gtest/gtest.h>

#include "Vornkrnx.h"

namespace {

/** Fails every test that leaves behind a block or resource that the kernel library tracks. */
class LeakCheck : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override { before_ = KrnTrackedCount(); }

    void OnTestEnd(const testing::TestInfo&) override
    {
        if (KrnTrackedCount() == before_)
            return;
        KrnReportTracked([](const char* line, void*) { ADD_FAILURE() << "still tracked: " << line; },
                         nullptr);
    }

    uint64_t before_ = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
    return RUN_ALL_TESTS();
}
