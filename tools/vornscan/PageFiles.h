// Puts pages into the files that the person named: the one way that pages of every kind of transfer take.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Destination.h"
#include "Options.h"

typedef struct BitmapHandle BitmapHandle;

namespace vornscan {

/** How the pages come from the device. */
struct Delivery {
    bool memory = false;   ///< as bitmaps, else as files
    bool asIs = false;     ///< a file is what the person asked for and only needs its name
    uint32_t quality = 0;  ///< of JPEG data that is still to be made; 0: the usual one
};

/**
 * The library writes each page into a file of ours, the draft; whole pages are then saved under their names. A file has its
 * old content or its new one at every moment, whoever is killed.
 */
class PageFiles {
public:
    PageFiles(const Options& options, const Destination& destination, const Delivery& delivery);
    PageFiles(const PageFiles&) = delete;
    ~PageFiles();

    /** The name that the library writes each page under. */
    const std::filesystem::path& Draft() const noexcept { return draft_; }

    /** Saves the draft, which is then gone; false when there is none. @throws Failure; pages saved before it stay */
    bool SaveDraft();
    /** @throws Failure when the page cannot be saved; pages saved before it stay */
    void Save(const BitmapHandle& page);

    /** One name a page, in the order of saving. */
    const std::vector<std::string>& Files() const noexcept { return files_; }

private:
    std::filesystem::path NextName() const;
    /** What the next page is written to: the file named, behind links when it may be there. */
    std::filesystem::path Target(const std::filesystem::path& named) const;
    /** Gives a whole file the next name. */
    void Publish(const std::filesystem::path& whole);
    void Give(const std::filesystem::path& whole, const std::filesystem::path& wanted,
              const std::filesystem::path& target);
    template <typename Saving>
    void SaveBy(Saving save);

    const Options& options_;
    const Destination& destination_;
    Delivery delivery_;
    int32_t format_;  ///< the file library's code
    std::filesystem::path draft_;
    std::vector<std::string> files_;
};

}  // namespace vornscan
