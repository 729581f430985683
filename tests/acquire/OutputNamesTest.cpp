/** Output files: which names pages get, what is in them, and the list that the caller is given. */
#include "Desk.h"

namespace vorn::test {
namespace {

class OutputNames : public AcquireTest {
protected:
    /** Scans pages of that number into a name, as TIFF. */
    static Outcome ScanTo(const Road& road, uint32_t pages, const AcquireOptions& options)
    {
        Desk desk{road, ScannerWith(NumberedPages(pages)), static_cast<LONG>(pages)};
        desk.SetFormat(WiaImgFmt_TIFF);
        return desk.Acquire(options);
    }
};

TEST_F(OutputNames, FollowTheThreeModes)
{
    using Names = std::vector<std::string>;
    const Names numbered = {"a.tif", "a (1).tif", "a (2).tif"}, one(3, "a.tif");
    const Names free = {"a (2).tif", "a (3).tif", "a (4).tif"}, oneFree(3, "a (2).tif");
    const char* const separate = "a (1).tif=2, a (2).tif=3, a.tif=1";
    const char* const behind = "a (1).tif=9, a (2).tif=1, a (3).tif=2, a (4).tif=3, a.tif=9";
    struct Row {
        uint32_t overwrite, multiPage, append;
        bool taken;  ///< a.tif and a (1).tif are there before, with page 9
        Names list;
        const char* files;
    };
    const Row rows[] = {
        {0, 0, 0, false, numbered, separate},
        {0, 0, 0, true, free, behind},
        {1, 0, 0, false, numbered, separate},
        {1, 0, 0, true, numbered, separate},
        {0, 1, 0, false, one, "a.tif=1 2 3"},
        {0, 1, 0, true, oneFree, "a (1).tif=9, a (2).tif=1 2 3, a.tif=9"},
        {1, 1, 0, false, one, "a.tif=1 2 3"},
        {1, 1, 0, true, one, "a (1).tif=9, a.tif=1 2 3"},
        {1, 1, 1, true, one, "a (1).tif=9, a.tif=1 2 3"},
        {1, 0, 1, true, one, "a (1).tif=9, a.tif=1 2 3"},
        {0, 0, 1, false, one, "a.tif=1 2 3"},
        {0, 0, 1, true, one, "a (1).tif=9, a.tif=9 1 2 3"},
        {0, 1, 1, true, one, "a (1).tif=9, a.tif=9 1 2 3"},
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
                ScanTo(road, 3, Named(Folder() / "a.tif", row.overwrite, row.multiPage, row.append));
            EXPECT_EQ(outcome.status, SUCCESS);
            EXPECT_EQ(outcome.fileCount, 3u);
            EXPECT_EQ(outcome.files, row.list);
            EXPECT_EQ(In(Folder()), row.files);
        }
    }
}

/** The names that other processes take while the first page comes: theirs stay, and all pages go elsewhere. */
TEST_F(OutputNames, AreTakenWithThePageAndNotBefore)
{
    for (const uint32_t multiPage : {0u, 1u}) {
        SCOPED_TRACE(multiPage);
        EmptyFolder();
        Desk desk{kFile1, ScannerWith(NumberedPages(2)), 2};
        desk.SetFormat(WiaImgFmt_TIFF);
        Notes notes;
        notes.answer = [&](size_t call) {
            if (call == 1)
                for (const char* name : {"a.tif", "a (1).tif"})
                    AddPage(Folder() / name, 9);
            return 1;
        };
        EXPECT_EQ(desk.Acquire(Named(Folder() / "a.tif", 0, multiPage), std::move(notes)).status, SUCCESS);
        EXPECT_EQ(In(Folder()), multiPage ? "a (1).tif=9, a (2).tif=1 2, a.tif=9"
                                          : "a (1).tif=9, a (2).tif=1, a (3).tif=2, a.tif=9");
    }
}

TEST_F(OutputNames, NumberWhateverNameThereIs)
{
    const auto folder = Folder() / "dir.with.dots (1)";
    const auto before = std::filesystem::current_path();
    std::filesystem::create_directory(folder);
    const std::pair<std::filesystem::path, const char*> rows[] = {
        {folder / "page", "page (1)"},
#ifndef _WIN32  // which drops the dot
        {folder / "page.", "page (1)."},
#endif
        {folder / ".hidden", " (1).hidden"},
        {folder / "page.of.two.tif", "page.of.two (1).tif"},
        {folder / u8"caf\u00e9 \u65e5\u672c.tif", "caf\xc3\xa9 \xe6\x97\xa5\xe6\x9c\xac (1).tif"},
        {folder / "page.extensio", "page (1).extensio"},  // nine characters with its dot
        {"relative.tif", "relative (1).tif"},
    };
    std::filesystem::current_path(folder);
    for (const auto& [name, numbered] : rows) {
        SCOPED_TRACE(numbered);
        const Outcome outcome = ScanTo(kFile2, 2, Named(name));
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_EQ(outcome.files, (std::vector<std::string>{name.filename().string(), numbered}));
        EXPECT_EQ(PagesOf(name), "1");
        EXPECT_EQ(PagesOf(folder / reinterpret_cast<const char8_t*>(numbered)), "2");
    }
    // A directory has the name: it is taken like a file's.
    std::filesystem::create_directory(folder / "sub.tif");
    EXPECT_EQ(ScanTo(kFile1, 1, Named(folder / "sub.tif")).files, std::vector<std::string>{"sub (1).tif"});
    std::filesystem::current_path(before);
}

TEST_F(OutputNames, FitTheirBufferOrAreRefused)
{
    // Directories in between: no single name may have more than 255 bytes.
    const auto folder = Folder() / std::string(60, 'd');
    std::filesystem::create_directory(folder);
    struct Row {
        const char* fault;
        size_t length;
        uint32_t pages, overwrite;
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
        const std::string base(row.length - Wide(folder / ".tif").size(), 'n');
        const Outcome outcome = ScanTo(kFile1, row.pages, Named(folder / (base + ".tif"), row.overwrite));
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.fileCount, row.files);
        EXPECT_EQ(NamesIn(folder).size(), row.files);
    }

    const auto longExtension = Folder() / "a.tif4567890";
    EXPECT_EQ(ScanTo(kFile1, 2, Named(longExtension)).status, ERR_INVALID_ARGUMENT) << "has no numbered name";
    EXPECT_EQ(PagesOf(longExtension), "1");

    AcquireOptions options = Named(Folder() / "b.tif");
    std::fill(std::find(std::begin(options.fileName), std::end(options.fileName), 0) + 1,
              std::end(options.fileName), VORN_TEXT('x'));
    EXPECT_EQ(ScanTo(kFile1, 1, options).files, std::vector<std::string>{"b.tif"})
        << "the rest of the buffer";
    std::fill(std::begin(options.fileName), std::end(options.fileName), VORN_TEXT('x'));
    EXPECT_EQ(ScanTo(kFile2, 1, options).status, ERR_INVALID_ARGUMENT) << "no terminator";
    Desk desk{kFile1, ScannerWith(NumberedPages(1)), 1};
    EXPECT_EQ(desk.Acquire(nullptr).status, ERR_INVALID_ARGUMENT) << "no options";
}

}  // namespace
}  // namespace vorn::test
