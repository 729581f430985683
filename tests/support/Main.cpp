#include <cstdlib>

#include <gtest/gtest.h>

#include "Vornkrnx.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

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
#ifdef _WIN32
    _setmode(_fileno(stdout), _O_BINARY);  // what reads the list of tests knows no carriage returns
#endif
#ifdef __linux__
    // The machine's own scanners are none of a test's business; tests of real scanners bring their own.
    setenv("SANE_CONFIG_DIR", "/nonexistent", 1);
    unsetenv("SANE_DEFAULT_DEVICE");
    setenv("VORNWIA_VIRTUAL_DEVICES", "1", 1);
#endif
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
    return RUN_ALL_TESTS();
}
