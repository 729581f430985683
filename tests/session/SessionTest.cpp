/** Sessions: creation, end, the apartment that they enter and leave, several at once. */
#include <thread>

#include "Sessions.h"

namespace vorn::test {
namespace {

using namespace vorn::wia;

class SessionTest : public GenerationTest {
    const ScopedDevices devices_{DeviceBuilder{StiDeviceTypeScanner}.Id(VORN_TEXT("a")).Build(),
                                 DeviceBuilder{StiDeviceTypeDigitalCamera}.Id(VORN_TEXT("b")).Build()};
};
VORN_IN_BOTH_GENERATIONS(SessionTest);

/** A handle that no session has: what a failed creation must leave alone. */
WiaSession* Untouched()
{
    static char mark;
    return reinterpret_cast<WiaSession*>(&mark);
}

TEST_F(LibraryTest, RefusesGenerationsThatAreNone)
{
    EXPECT_EQ(Vorn_WiaInitSession(1, nullptr), ERR_INVALID_ARGUMENT);
    for (const uint32_t version : {0u, 3u, 0x80000001u, 0xFFFFFFFFu}) {
        WiaSession* session = Untouched();
        EXPECT_EQ(Vorn_WiaInitSession(version, &session), ERR_INVALID_WIA_VERSION) << version;
        EXPECT_EQ(session, Untouched()) << version;
        EXPECT_EQ(Vorn_WiaInitSession(version, nullptr), ERR_INVALID_ARGUMENT) << "null is told first";
        EXPECT_EQ(Vorn_WiaIsAvailable(version), RESULT_FALSE) << version;
    }
    EXPECT_EQ(Vorn_WiaEndSession(nullptr), ERR_INVALID_ARGUMENT);
    EXPECT_EQ(Vorn_WiaGetSelectedDevice(nullptr), nullptr);
}

// On Windows the test program announces the service to its main thread alone: there, other threads are tested
// against the service of the system itself.
#ifndef _WIN32

/** True while the thread is in an apartment of the model that `other` is not. */
bool InApartment(DWORD other = COINIT_MULTITHREADED)
{
    const HRESULT result = CoInitializeEx(nullptr, other);
    if (SUCCEEDED(result))
        CoUninitialize();
    return result == RPC_E_CHANGED_MODE;
}

/** What an application does with sessions; each must leave the thread's apartment as it was. */
struct Use {
    const char* name;
    void (*run)(uint32_t version);
};
constexpr Use kUses[] = {
    {"a session", [](uint32_t version) { OpenSession{version}; }},
    {"nested sessions",
     [](uint32_t version) {
         const OpenSession outer{version};
         OpenSession{3 - version};
     }},
    {"the availability test", [](uint32_t version) { EXPECT_EQ(Vorn_WiaIsAvailable(version), SUCCESS); }},
    {"a session whose manager is missing",
     [](uint32_t version) {
         const ScopedMissingManager missing{static_cast<Generation>(version)};
         WiaSession* session = Untouched();
         EXPECT_EQ(Vorn_WiaInitSession(version, &session), RESULT_FALSE);
         EXPECT_EQ(session, nullptr);
         EXPECT_EQ(Vorn_WiaIsAvailable(version), RESULT_FALSE);
         EXPECT_EQ(Vorn_WiaIsAvailable(3 - version), SUCCESS) << "the other generation is still there";
     }},
    {"a session without memory",
     [](uint32_t version) {
         const ScopedFailingAllocator failing;
         WiaSession* session = Untouched();
         EXPECT_EQ(Vorn_WiaInitSession(version, &session), ERR_OUT_OF_MEMORY);
         EXPECT_EQ(session, Untouched());
         EXPECT_EQ(Vorn_WiaIsAvailable(version), RESULT_FALSE);
     }},
};

TEST_P(SessionTest, LeavesTheApartmentAsOftenAsItEnteredIt)
{
    for (const Use& use : kUses) {
        for (const int entries : {0, 1, 3}) {
            SCOPED_TRACE(std::string{use.name} + ", entered before: " + std::to_string(entries));
            std::thread{[&] {
                for (int i = 0; i < entries; ++i)
                    CoInitialize(nullptr);
                use.run(Version());
                for (int i = 0; i < entries; ++i) {
                    EXPECT_TRUE(InApartment()) << "an entry of the application was undone";
                    CoUninitialize();
                }
                EXPECT_FALSE(InApartment()) << "an entry was left behind";
            }}.join();
        }
    }
}

TEST_P(SessionTest, EntersAnApartmentForItsLife)
{
    std::thread{[] {
        const OpenSession session{Version()};
        EXPECT_TRUE(InApartment());
    }}.join();
}

TEST_P(SessionTest, WorksOnAThreadOfAnotherModelAndLeavesItThere)
{
    std::thread{[] {
        ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
        for (const Use& use : kUses) {
            SCOPED_TRACE(use.name);
            use.run(Version());
            EXPECT_TRUE(InApartment(COINIT_APARTMENTTHREADED)) << "the application's apartment is gone";
        }
        CoUninitialize();
        EXPECT_FALSE(InApartment(COINIT_APARTMENTTHREADED));
    }}.join();
}

TEST_P(SessionTest, WorksOnSeveralThreadsAtOnce)
{
    const auto work = [](uint32_t version, const WCHAR* device, int32_t type) {
        for (int round = 0; round < 50; ++round) {
            const OpenSession session{version, device};
            EXPECT_EQ(session.Type(), type);
            EXPECT_EQ(session.SelectedId(), Narrow(device));
        }
    };
    std::thread other{work, 3 - Version(), VORN_TEXT("b"), StiDeviceTypeDigitalCamera};
    work(Version(), VORN_TEXT("a"), StiDeviceTypeScanner);
    other.join();
}

#endif

TEST_P(SessionTest, ReleasesTheRootItemBeforeTheManager)
{
    WiaSession* session = nullptr;
    ASSERT_EQ(Vorn_WiaInitSession(Version(), &session), SUCCESS);
    ASSERT_EQ(Vorn_WiaSelectDevice(session, VORN_TEXT("a")), SUCCESS);

    const ScopedCallLog log;
    EXPECT_EQ(Vorn_WiaEndSession(session), SUCCESS);
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{"Root.Release", Manager() + ".Release"}));
}

TEST_P(SessionTest, KeepsItsDeviceToItself)
{
    const OpenSession first{Version(), VORN_TEXT("a")};
    const OpenSession empty{Version()};
    {
        const OpenSession other{3 - Version(), VORN_TEXT("b")};
        const OpenSession same{Version(), VORN_TEXT("b")};
        EXPECT_EQ(other.Type(), StiDeviceTypeDigitalCamera);
        EXPECT_EQ(same.Type(), StiDeviceTypeDigitalCamera);
    }
    EXPECT_EQ(first.Type(), StiDeviceTypeScanner);
    EXPECT_EQ(first.SelectedId(), "a");
    EXPECT_EQ(empty.Type(), ERR_NO_DEVICE_SELECTED);
    EXPECT_EQ(Vorn_WiaGetSelectedDevice(empty), nullptr);
}

}  // namespace
}  // namespace vorn::test
