/** Transfers into files: the temporary file, what the application hears, and pages that cannot be saved. */
#include <algorithm>
#include <cstdlib>

#include "Desk.h"

namespace vorn::test {
namespace {

constexpr const char* kTemporary = "WiaTempFile.tmp";
constexpr Road kFileRoads[] = {kFile1, kFile2};

class FileTransfer : public AcquireTest {};

TEST_F(FileTransfer, TellsEachPageByItsNameAndPassesThroughATemporaryFile)
{
    for (const Road& road : kFileRoads) {
        for (const bool toFile : {false, true}) {
            SCOPED_TRACE(Trace(road, toFile));
            Desk desk{road, ScannerWith(NumberedPages(2)), 2};
            desk.toFile = toFile;
            const Outcome outcome = Scan(desk);
            EXPECT_EQ(outcome.status, SUCCESS);
            const auto second =
                std::find_if(outcome.calls.begin(), outcome.calls.end(),
                             [](const auto& call) { return call.find("a (1).bmp") != std::string::npos; });
            ASSERT_GT(second - outcome.calls.begin(), 1) << "no progress of the first page";
            ASSERT_GT(outcome.calls.end() - second, 1) << "no progress of the second page";
            EXPECT_EQ(second[-1], "2 0 a.bmp");
            EXPECT_EQ(outcome.calls.back(), "2 0 a (1).bmp");
            for (auto call = outcome.calls.begin(); call != outcome.calls.end(); ++call)
                EXPECT_EQ(call->substr(call->rfind(" a") + 1), call < second ? "a.bmp" : "a (1).bmp");
            EXPECT_EQ(TemporaryFiles().count(kTemporary), road.generation == Generation::One ? 1u : 0u);
            std::filesystem::remove(TemporaryDirectory() / kTemporary);
        }
    }
}

TEST_F(FileTransfer, IsAskedOfA10ItemOnly)
{
    Desk one{kMemory1, ScannerWith(NumberedPages(1)), 1};
    one.toFile = true;
    EXPECT_EQ(Scan(one).files.size(), 1u);
    EXPECT_EQ(one.Get(one.item, WIA_IPA_TYMED), TYMED_FILE) << "stays as the caller asked";

    Desk two{kMemory2, ScannerWith(NumberedPages(1)), 1};
    two.toFile = true;
    const Outcome outcome = Scan(two);
    EXPECT_EQ(outcome.status, SUCCESS);
    EXPECT_TRUE(outcome.files.empty());
    EXPECT_EQ(outcome.calls.back(), "2 100") << "a memory transfer without a place for bitmaps";
    EXPECT_EQ(two.Get(two.item, WIA_IPA_TYMED), TYMED_CALLBACK);
}

TEST_F(FileTransfer, NeverSavesAnEarlierPagesTemporaryFile)
{
    for (const Road& road : kFileRoads) {
        for (const bool append : {false, true}) {
            SCOPED_TRACE(std::string{road.name} + (append ? " append" : ""));
            WriteBytes(TemporaryDirectory() / kTemporary, PageFile(9));
            Desk desk{road, WriterOf(""), 1};
            const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp", 0, 0, append));
            EXPECT_EQ(outcome.status, append ? FIL_ERR_NOT_FOUND : ERR_FILE_COPY);
            EXPECT_EQ(outcome.fileCount, 0u);
            EXPECT_EQ(In(Folder()), "");
        }
    }
}

TEST_F(FileTransfer, TellsAPageThatCannotBeSavedAndChangesNothing)
{
    const auto folder = Folder();
    const std::string page = PageFile(1);
    WriteBytes(folder / "full.bmp", page);
    WriteBytes(folder / "text.tif", "not an image");
    AddPage(folder / "other.tif", 9);
    std::filesystem::create_directory(folder / "directory.bmp");
    struct Row {
        const char* fault;
        std::string bytes;
        AcquireOptions options;
        int32_t status;
    };
    const Row rows[] = {
        {"no such directory", page, Named(folder / "none" / "a.bmp"), ERR_FILE_COPY},
        {"a directory in the way", page, Named(folder / "directory.bmp", 1), ERR_FILE_COPY},
        {"a directory to add to", page, Named(folder / "directory.bmp", 0, 0, 1), FIL_ERR_IS_DIRECTORY},
        {"a format of one page", page, Named(folder / "full.bmp", 0, 0, 1), FIL_ERR_SINGLE_PAGE_FORMAT},
        {"another format", page, Named(folder / "other.tif", 0, 0, 1), FIL_ERR_UNSUPPORTED},
        {"no image to add to", page, Named(folder / "text.tif", 0, 0, 1), FIL_ERR_UNKNOWN_FORMAT},
        {"no image", "noise", Named(folder / "new.bmp", 0, 1), FIL_ERR_UNKNOWN_FORMAT},
        {"no image to add", "noise", Named(folder / "full.bmp", 0, 0, 1), FIL_ERR_UNKNOWN_FORMAT},
        {"half an image", page.substr(0, 100), Named(folder / "new.bmp", 0, 1), FIL_ERR_CORRUPT},
    };
    const std::string before = In(folder);
    for (const Road& road : kFileRoads) {
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string{road.name} + ": " + row.fault);
            Desk desk{road, WriterOf(row.bytes), 0};
            const Outcome outcome = desk.Acquire(row.options);
            EXPECT_EQ(outcome.status, row.status);
            EXPECT_EQ(outcome.fileCount, 0u);
            EXPECT_FALSE(outcome.listed);
            ASSERT_FALSE(outcome.calls.empty());
            EXPECT_EQ(outcome.calls.back().rfind("2 0 ", 0), 0u) << "the page's end is told all the same";
            EXPECT_EQ(In(folder), before);
            EXPECT_EQ(BytesOf(folder / "text.tif"), "not an image");
        }
    }
}

TEST_F(FileTransfer, KeepsThePagesBeforeOneThatCannotBeSaved)
{
    for (const Road& road : kFileRoads) {
        Desk desk{road, ScannerWith(NumberedPages(3)), 0};
        const Outcome outcome = desk.Acquire(Named(Folder() / "a.bmp", 1, 1));
        EXPECT_EQ(outcome.status, FIL_ERR_SINGLE_PAGE_FORMAT);
        EXPECT_EQ(outcome.fileCount, 1u);
        EXPECT_EQ(In(Folder()), "a.bmp=1");
    }
}

TEST_F(FileTransfer, SavesEveryPageOfASourceAndCountsItOnce)
{
    for (uint8_t number = 1; number <= 4; ++number)
        AddPage(Folder() / "source.tif", number);
    const std::string source = BytesOf(Folder() / "source.tif");
    for (const Road& road : kFileRoads) {
        SCOPED_TRACE(road.name);
        EmptyFolder();
        AddPage(Folder() / "a.tif", 9);
        Desk desk{road, WriterOf(source), 1};
        const Outcome outcome = desk.Acquire(Named(Folder() / "a.tif", 0, 0, 1));
        EXPECT_EQ(outcome.status, SUCCESS);
        EXPECT_EQ(outcome.fileCount, 1u);
        EXPECT_EQ(In(Folder()), "a.tif=9 1 2 3 4");
    }
}

TEST_F(FileTransfer, DoesNotTakeAnEmptyFeederForTheEndOfOnePage)
{
    // Counted over the whole call: a page of an earlier item makes a later item's empty feeder a good end.
    for (const LONG pages : {0, 1, 2}) {
        DeviceBuilder device{4};
        device.RootProperty(Writable(WIA_DPS_PAGES, Value::I4(pages)));
        for (const uint32_t sheets : {1u, 0u}) {
            ItemDefinition item = ScannerItem(
                Generation::One, [sheets] { return MakeCannedPages(NumberedPages(sheets)); }, true);
            item.name = sheets ? VORN_TEXT("Full") : VORN_TEXT("Empty");
            item.Set(Writable(WIA_IPA_TYMED, Value::I4(TYMED_FILE)));
            device.Child(Generation::One, std::move(item));
        }
        Desk desk{Generation::One, device};
        const Outcome outcome = Scan(desk);
        EXPECT_EQ(outcome.status, pages == 1 ? ERR_WIA_PAPER_EMPTY : SUCCESS) << pages;
        EXPECT_EQ(outcome.fileCount, 1u);
    }
}

#ifndef _WIN32
TEST_F(FileTransfer, NeedsATemporaryDirectory)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto acquire = [this] {
        setenv("TMPDIR", "/no such directory", 1);
        int trouble = 0;
        for (const Road& road : kFileRoads) {
            Desk desk{road, ScannerWith(NumberedPages(1)), 1};
            const Outcome outcome = desk.Acquire(Named("/tmp/never written.bmp"));
            trouble += outcome.status != ERR_TEMP_PATH || !outcome.calls.empty();
        }
        std::_Exit(trouble);
    };
    EXPECT_EXIT(acquire(), testing::ExitedWithCode(0), "");
}
#endif

}  // namespace
}  // namespace vorn::test
