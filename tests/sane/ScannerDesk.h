/** Sessions on scanners of SANE, and tests that need some. */
#pragma once

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Scanimage.h"
#include "Vornfilx.h"
#include "com.h"

namespace vorn::test {

/** A session on a scanner, and its item. */
class ScannerDesk {
public:
    ScannerDesk(uint32_t generation, bool feeder, const WCHAR* device = VORN_TEXT("test:0"))
    {
        EXPECT_EQ(Vorn_WiaInitSession(generation, &session_), SUCCESS);
        EXPECT_EQ(Vorn_WiaSelectDevice(session_, device), SUCCESS);
        EXPECT_EQ(Vorn_WiaGetRootItem(session_, nullptr, &root_), SUCCESS);
        const auto keep = [](WiaSession*, uint32_t, WiaItemHandle child, void* children) -> int32_t {
            static_cast<std::vector<WiaItemHandle>*>(children)->push_back(child);
            return SUCCESS;
        };
        EXPECT_EQ(Vorn_WiaEnumChildItems(session_, root_, keep, &children_), SUCCESS);
        item = children_.at(generation == 2 && feeder ? 1 : 0);
        if (generation == 1) {
            Set(WIA_DPS_DOCUMENT_HANDLING_SELECT, feeder ? FEEDER : FLATBED, root_);
        }
        if (WStringView{device}.find(u"test") == WStringView::npos)
            return;
        // The back end keeps its settings in the process.
        Set({{"hand-scanner", "no"},
             {"mode", "Color"},
             {"depth", "8"},
             {"three-pass", "no"},
             {"resolution", "50"},
             {"tl-x", "0"},
             {"br-x", "80"},
             {"tl-y", "0"},
             {"br-y", "100"},
             {"read-limit", "no"},
             {"read-delay", "no"},
             {"ppl-loss", "0"},
             {"fuzzy-parameters", "no"},
             {"non-blocking", "no"},
             {"select-fd", "no"},
             {"test-picture", "Color pattern"},
             {"read-return-value", "Default"}});
    }
    ScannerDesk(const ScannerDesk&) = delete;
    ~ScannerDesk()
    {
        for (WiaItemHandle child : children_)
            Vorn_WiaFreeItem(session_, child);
        Vorn_WiaEndSession(session_);
    }

    WiaSession* Session() const { return session_; }

    /** By SANE's names and in SANE's words. */
    void Set(const SaneOptions& options)
    {
        for (const Option& option : options) {
            const bool number = option.value.find_first_not_of("-0123456789") == std::string::npos;
            const bool is = option.value == "yes";
            const WString name = Wide(option.name);
            const int32_t status =
                number || is || option.value == "no"
                    ? Vorn_WiaSetPropertyLong(session_, item, name.c_str(), 0,
                                              number ? std::stoi(option.value) : is)
                    : Vorn_WiaSetPropertyString(session_, item, name.c_str(), 0, Wide(option.value).c_str());
            EXPECT_EQ(status, SUCCESS) << option.name;
        }
    }
    void Set(PROPID id, LONG value, WiaItemHandle target = nullptr)
    {
        EXPECT_EQ(Vorn_WiaSetPropertyLong(session_, target ? target : item, nullptr, id, value), SUCCESS)
            << id;
    }
    int32_t TrySet(PROPID id, LONG value)
    {
        return Vorn_WiaSetPropertyLong(session_, item, nullptr, id, value);
    }
    LONG Get(PROPID id)
    {
        int32_t value = -1;
        EXPECT_EQ(Vorn_WiaGetPropertyLong(session_, item, nullptr, id, &value), SUCCESS) << id;
        return value;
    }
    std::string RootText(PROPID id)
    {
        std::array<WCHAR, 64> text{};
        uint64_t characters = text.size();
        EXPECT_EQ(Vorn_WiaGetPropertyString(session_, root_, nullptr, id, text.data(), &characters), SUCCESS);
        return Narrow(text.data());
    }
    void SetPages(LONG pages) { Set(WIA_DPS_PAGES, pages, root_); }

    /** Into memory, or into a file and from there. */
    int32_t Acquire(const std::filesystem::path& file, Notes& notes)
    {
        Set(WIA_IPA_TYMED, file.empty() ? TYMED_CALLBACK : TYMED_FILE);
        AcquireOptions options{};
        options.structSize = sizeof options;
        options.overwriteFile = 1;
        options.multiPageFile = 1;
        Wide(file).copy(options.fileName, VORNWIA_NAME_CHARS - 1);
        if (!file.empty()) {
            EXPECT_EQ(Vorn_WiaSetPropertyGUID(session_, item, nullptr, WIA_IPA_FORMAT, &WiaImgFmt_TIFF),
                      SUCCESS);
        }
        return Vorn_WiaAcquire(session_, nullptr, 0, item, &options, nullptr, nullptr, &Notes::Callback,
                               &notes);
    }

    WiaItemHandle item = nullptr;

private:
    WiaSession* session_ = nullptr;
    WiaItemHandle root_ = nullptr;
    std::vector<WiaItemHandle> children_;
};

/** Driver host processes that use the tests' configuration. */
inline int HostsLeft()
{
    int hosts = 0;
    std::error_code gone;
    for (const auto& process : std::filesystem::directory_iterator{"/proc"}) {
        const std::string program = std::filesystem::read_symlink(process.path() / "exe", gone);
        if (gone || !program.ends_with("/sane-host"))
            continue;
        std::ifstream stream{process.path() / "environ", std::ios::binary};
        const std::string environment{std::istreambuf_iterator<char>{stream}, {}};
        hosts += environment.find(SaneFolder()) != std::string::npos ? 1 : 0;
    }
    return hosts;
}

class ScannerTest : public LibraryTest {
protected:
    void SetUp() override
    {
        setenv("SANE_CONFIG_DIR", SaneFolder().c_str(), 1);
        if (const std::string missing = WhatIsMissing(); !missing.empty())
            GTEST_SKIP() << missing;
    }

    void TearDown() override
    {
        EXPECT_EQ(HostsLeft(), 0) << "driver hosts outlive who started them";
        LibraryTest::TearDown();
        setenv("SANE_CONFIG_DIR", "/nonexistent", 1);  // other tests see no scanner
    }

    /** The bitmaps of a scan, or the pages of the file that it gave. */
    std::vector<SeenPage> Pages(const std::filesystem::path& file, Notes& notes)
    {
        if (file.empty()) {
            std::erase_if(notes.pages, [](const SeenPage& page) { return page.pixels.empty(); });
            return notes.pages;
        }
        Notes saved;
        FilLoadOptions load{};
        FilDefaultLoadOptions(&load, sizeof load);
        for (load.page = 1;; ++load.page) {
            BitmapHandle bitmap{};
            if (FilLoad(Wide(file).c_str(), &bitmap, sizeof bitmap, 0, KRN_COLOR_ORDER_BGR, &load, nullptr) !=
                FIL_SUCCESS)
                return saved.pages;
            saved.Note(&bitmap, nullptr, 100, 2);
            KrnFreeBitmap(&bitmap);
        }
    }
};

}  // namespace vorn::test
