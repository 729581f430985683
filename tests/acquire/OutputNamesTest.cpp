/** Output files: which names pages get, what is in them, and the list that the caller is given. */
#include <map>

#include "Desk.h"

namespace vorn::test {
namespace {

using Contents = std::map<std::string, std::string>;

class OutputNames : public LibraryTest {
protected:
    /** Every file of the folder with its pages; other entries by their name alone. */
    static Contents In(const std::filesystem::path& folder)
    {
        Contents contents;
        for (const std::string& name : NamesIn(folder))
            contents[name] = std::filesystem::is_regular_file(folder / name) ? PagesOf(folder / name) : "";
        return contents;
    }
    void EmptyFolder()
    {
        for (const std::string& name : NamesIn(Folder()))
            std::filesystem::remove_all(Folder() / name);
    }
    /** Scans pages of that number into a name, as TIFF. */
    Outcome Scan(const Road& road, uint32_t pages, const AcquireOptions& options)
    {
        Desk desk{road, ScannerWith(NumberedPages(pages)), static_cast<LONG>(pages)};
        desk.SetFormat(WiaImgFmt_TIFF);
        return desk.Acquire(options);
    }
};

TEST_F(OutputNames, FollowTheThreeModes)
{
    const std::vector<std::string> numbered = {"a.tif", "a (1).tif", "a (2).tif"}, one(3, "a.tif");
    struct Row {
        uint32_t overwrite, multiPage, append;
        bool taken;  ///< a.tif and a (1).tif are there before, with page 9
        std::vector<std::string> list;
        Contents files;
    };
    const Contents separate = {{"a.tif", "1"}, {"a (1).tif", "2"}, {"a (2).tif", "3"}};
    const Contents together = {{"a.tif", "1 2 3"}};
    const Contents replaced = {{"a.tif", "1 2 3"}, {"a (1).tif", "9"}};
    const Row rows[] = {
        {0, 0, 0, false, numbered, separate},
        {0,
         0,
         0,
         true,
         {"a (2).tif", "a (3).tif", "a (4).tif"},
         {{"a.tif", "9"}, {"a (1).tif", "9"}, {"a (2).tif", "1"}, {"a (3).tif", "2"}, {"a (4).tif", "3"}}},
        {1, 0, 0, false, numbered, separate},
        {1, 0, 0, true, numbered, separate},
        {0, 1, 0, false, one, together},
        {0,
         1,
         0,
         true,
         std::vector<std::string>(3, "a (2).tif"),
         {{"a.tif", "9"}, {"a (1).tif", "9"}, {"a (2).tif", "1 2 3"}}},
        {1, 1, 0, false, one, together},
        {1, 1, 0, true, one, replaced},
        {1, 1, 1, true, one, replaced},
        {1, 0, 1, true, one, replaced},
        {0, 0, 1, false, one, together},
        {0, 0, 1, true, one, {{"a.tif", "9 1 2 3"}, {"a (1).tif", "9"}}},
        {0, 1, 1, true, one, {{"a.tif", "9 1 2 3"}, {"a (1).tif", "9"}}},
    };
    for (const Road& road : {kFile1, kFile2}) {
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string{road.name} + (row.overwrite ? " overwrite" : "") +
                         (row.multiPage ? " multi-page" : "") + (row.append ? " append" : "") +
                         (row.taken ? " taken" : ""));
            EmptyFolder();
            for (const char* name : {"a.tif", "a (1).tif"}) {
                if (row.taken)
                    AddPage(Folder() / name, 9);
            }
            const Outcome outcome =
                Scan(road, 3, Named(Folder() / "a.tif", row.overwrite, row.multiPage, row.append));
            EXPECT_EQ(outcome.status, SUCCESS);
            EXPECT_EQ(outcome.fileCount, 3u);
            EXPECT_EQ(outcome.files, row.list);
            EXPECT_EQ(In(Folder()), row.files);
        }
    }
}

TEST_F(OutputNames, NumberWhateverNameThereIs)
{
    const auto folder = Folder() / "dir.with.dots (1)";
    const auto before = std::filesystem::current_path();
    std::filesystem::create_directory(folder);
    struct Row {
        std::filesystem::path name;
        const char* numbered;
    };
    const Row rows[] = {
        {folder / "page", "page (1)"},
        {folder / "page.", "page (1)."},
        {folder / ".hidden", " (1).hidden"},
        {folder / "page.of.two.tif", "page.of.two (1).tif"},
        {folder / u8"caf\u00e9 \u65e5\u672c.tif", "caf\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac (1).tif"},
        {folder / "page.extensio", "page (1).extensio"},  // nine characters with its dot
        {"relative.tif", "relative (1).tif"},
    };
    std::filesystem::current_path(folder);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.numbered);
        const Outcome outcome = Scan(kFile2, 2, Named(row.name));
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_EQ(outcome.files, (std::vector<std::string>{row.name.filename().string(), row.numbered}));
        EXPECT_EQ(PagesOf(row.name), "1");
        EXPECT_EQ(PagesOf(folder / row.numbered), "2");
    }
    // A directory has the name: it is taken like a file's.
    std::filesystem::create_directory(folder / "sub.tif");
    EXPECT_EQ(Scan(kFile1, 1, Named(folder / "sub.tif")).files, std::vector<std::string>{"sub (1).tif"});
    std::filesystem::current_path(before);
}

TEST_F(OutputNames, FitTheirBufferOrAreRefused)
{
    // Directories in between: no single name may have more than 255 bytes.
    const auto folder = Folder() / std::string(60, 'd');
    std::filesystem::create_directory(folder);
    const auto nameOf = [&](size_t length) {
        const size_t base = length - Wide(folder).size() - 1 - 4;
        return folder / (std::string(base, 'n') + ".tif");
    };
    struct Row {
        const char* fault;
        size_t length;
        uint32_t pages;
        uint32_t overwrite;
        int32_t status;
        uint32_t files;
    };
    const Row rows[] = {
        {"the longest name is refused", 259, 1, 0, SUCCESS, 1},
        {"the longest name is refused when it replaces", 259, 1, 1, SUCCESS, 1},
        {"the longest numbered name is refused", 255, 2, 0, SUCCESS, 2},
        {"the longest numbered name is refused when it replaces", 255, 2, 1, SUCCESS, 2},
        {"a numbered name is cut", 256, 2, 0, ERR_INVALID_ARGUMENT, 1},
        {"a numbered name is cut when it replaces", 256, 2, 1, ERR_INVALID_ARGUMENT, 1},
        {"the tenth name is cut", 255, 11, 0, ERR_INVALID_ARGUMENT, 10},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        for (const std::string& name : NamesIn(folder))
            std::filesystem::remove(folder / name);
        const Outcome outcome = Scan(kFile1, row.pages, Named(nameOf(row.length), row.overwrite));
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.fileCount, row.files);
        EXPECT_EQ(NamesIn(folder).size(), row.files);
    }

    const auto longExtension = Folder() / "a.tif4567890";
    EXPECT_EQ(Scan(kFile1, 2, Named(longExtension)).status, ERR_INVALID_ARGUMENT) << "has no numbered name";
    EXPECT_EQ(PagesOf(longExtension), "1");

    AcquireOptions options = Named(Folder() / "b.tif");
    std::fill(std::find(std::begin(options.fileName), std::end(options.fileName), 0) + 1,
              std::end(options.fileName), VORN_TEXT('x'));
    EXPECT_EQ(Scan(kFile1, 1, options).files, std::vector<std::string>{"b.tif"}) << "the rest of the buffer";
    std::fill(std::begin(options.fileName), std::end(options.fileName), VORN_TEXT('x'));
    EXPECT_EQ(Scan(kFile2, 1, options).status, ERR_INVALID_ARGUMENT) << "no terminator";
    EXPECT_EQ(Scan(kFile2, 1, AcquireOptions{}).status, ERR_INVALID_ARGUMENT) << "no name";
    Desk desk{kFile1, ScannerWith(NumberedPages(1)), 1};
    EXPECT_EQ(desk.Acquire(nullptr).status, ERR_INVALID_ARGUMENT) << "no options";
}

TEST_F(OutputNames, AreWrittenWhateverTheCallerWantsToKnow)
{
    for (const Road& road : {kFile1, kFile2}) {
        for (const unsigned wanted : {0u, 1u, 2u}) {
            EmptyFolder();
            Desk desk{road, ScannerWith(NumberedPages(2)), 0};
            desk.callback = false;
            desk.wantCount = wanted & 1;
            desk.wantList = wanted & 2;
            desk.listLength = wanted & 2;
            const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp"));
            EXPECT_EQ(outcome.status, SUCCESS);
            EXPECT_EQ(outcome.fileCount, wanted ? 2u : 0u);
            EXPECT_EQ(Delivered(outcome, Folder()), wanted & 2 ? "1 2" : "");
            EXPECT_EQ(In(Folder()), (Contents{{"a.bmp", "1"}, {"a (1).bmp", "2"}}));
        }
    }
}

/** Whatever allocation fails: a status, an intact list, the files that were counted, and a next acquisition. */
TEST_F(OutputNames, SurviveEveryFailedAllocation)
{
    for (const Road& road : kRoads) {
        for (const uint64_t count : {uint64_t{1}, UINT64_MAX}) {
            size_t failures = 0;
            for (uint64_t nth = 1; nth <= 40; ++nth) {
                SCOPED_TRACE(std::string{road.name} + ", allocation " + std::to_string(nth));
                EmptyFolder();
                Desk desk{road, ScannerWith(NumberedPages(3), true), 3};
                const AcquireOptions options = Named(Folder() / "a.bmp");
                uint32_t files = 0;
                WCHAR** list = nullptr;
                KrnFailAllocations(nth, count);
                const int32_t status = Vorn_WiaAcquire(desk.Session(), nullptr, 0, nullptr, &options, &files,
                                                       &list, nullptr, nullptr);
                KrnFailAllocations(0, 0);
                const Outcome outcome = Collect(status, files, list, {});
                failures += status != SUCCESS;
                EXPECT_EQ(NamesIn(Folder()).size(), files) << "files and their count";
                for (const std::string& name : outcome.files)
                    EXPECT_TRUE(name == "(null)" || NamesIn(Folder()).count(name)) << name;
                EXPECT_EQ(desk.Acquire(options).status, SUCCESS) << "the next one";
            }
            EXPECT_GT(failures, 0u) << "no allocation failed";
        }
    }
}

}  // namespace
}  // namespace vorn::test
