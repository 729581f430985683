/*
 * Processes that are killed while they add pages to a file.
 */
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "Pictures.h"

namespace vorn::test {
namespace {

class Kills : public FilesTest {
protected:
    /** The pages of a PDF without any fault, else 0. */
    uint32_t SoundPages() const
    {
        std::string command{"qpdf --check '"};
        command.append(folder.Path() / "a.pdf").append("' >/dev/null 2>&1");
        if (std::system(command.c_str()) != 0)
            return 0;
        FilFileInfo info{};
        FilInfo(Name("a.pdf").c_str(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr);
        return info.pageCount;
    }
};

/** Adds pages in a process of its own, which is killed after a while; each page is told by a byte in a pipe. */
uint32_t PagesUntilKilled(const WString& name, int32_t format, const Picture& picture,
                          std::chrono::microseconds life)
{
    int told[2];
    if (pipe(told) != 0)
        return 0;
    const pid_t child = fork();
    if (child == 0)
        for (;;)
            if (FilSave(name.c_str(), &picture.record, format, 0, FIL_SAVE_ADD_PAGE, FIL_COMPRESSION_DEFLATE,
                        nullptr, nullptr, nullptr) != FIL_SUCCESS ||
                write(told[1], "", 1) != 1)
                _exit(1);
    std::this_thread::sleep_for(life);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "a page could not be added";
    close(told[1]);
    uint32_t pages = 0;
    for (char page = 0; read(told[0], &page, 1) == 1;)
        ++pages;
    close(told[0]);
    return pages;
}

TEST_F(Kills, WhilePagesAreAddedDamageNothing)
{
    const Picture picture{200, 200, 24};
    const WString tiff = Name("a.tif"), pdf = Name("a.pdf");
    std::minstd_rand random{std::random_device{}()};
    uint32_t tiffPages = 0, pdfPages = 0;
    for (int kills = 0; kills < 50; ++kills) {
        const std::chrono::microseconds life{random() % 12000};
        FilFileInfo info{};
        tiffPages += PagesUntilKilled(tiff, FIL_FORMAT_TIFF, picture, life);
        if (std::filesystem::exists(tiff)) {
            ASSERT_EQ(FilInfo(tiff.c_str(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr),
                      FIL_SUCCESS);
            // The last page may be whole without having been told.
            EXPECT_TRUE(info.pageCount == tiffPages || info.pageCount == tiffPages + 1);
            tiffPages = info.pageCount;
            for (const uint32_t page : {1u, tiffPages}) {
                Picture loaded;
                EXPECT_EQ(Load(tiff, loaded, page), FIL_SUCCESS);
                EXPECT_EQ(Difference(loaded, picture), "") << page;
            }
        }
        const std::string before = BytesOf(pdf);
        const uint32_t added = PagesUntilKilled(pdf, FIL_FORMAT_PDF, picture, life);
        if (std::filesystem::exists(pdf)) {
            const std::string after = BytesOf(pdf);
            EXPECT_TRUE(after.starts_with(before.substr(0, before.rfind("startxref"))));
            const uint32_t pages = SoundPages();
            EXPECT_TRUE(pages == pdfPages + added || pages == pdfPages + added + 1) << pages;
            pdfPages = pages;
        }
    }
    // An addition that was cut short leaves its copy of the file's end behind.
    uint32_t ends = 0;
    const std::string bytes = BytesOf(pdf);
    for (size_t at = 0; (at = bytes.find("%%EOF", at)) != std::string::npos; ++at)
        ++ends;
    EXPECT_GT(ends, pdfPages) << "no kill came while a page was added";
}

}  // namespace
}  // namespace vorn::test
