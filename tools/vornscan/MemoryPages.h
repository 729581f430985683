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
    std::filesystem::path NextFile() const;

    const Options& options_;
    const Destination& destination_;
    std::filesystem::path file_;
    std::vector<std::string> files_;
};

}  // namespace vornscan
