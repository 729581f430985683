// Saves pages that arrive as bitmaps, under the names that the library gives to pages it writes itself.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Destination.h"
#include "Options.h"

typedef struct BitmapHandle BitmapHandle;

namespace vornscan {

class MemoryPages {
public:
    MemoryPages(const Options& options, const Destination& destination);

    /** @throws Failure when the page cannot be saved; pages saved before it stay */
    void Save(const BitmapHandle& page);

    /** One name a page, in the order of saving. */
    const std::vector<std::string>& Files() const noexcept { return files_; }

private:
    std::filesystem::path NextName() const;
    /** The file holds the old page or the new one at any moment. */
    void Replace(const BitmapHandle& page) const;
    void Write(const std::filesystem::path& file, const BitmapHandle& page, int32_t mode) const;

    const Options& options_;
    const Destination& destination_;
    int32_t format_;  ///< the file library's code
    std::filesystem::path file_;
    std::vector<std::string> files_;
};

}  // namespace vornscan
