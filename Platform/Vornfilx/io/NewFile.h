/**
 * @file io/NewFile.h
 * A file that gets its name when it is whole.
 */
#pragma once

#include <optional>

#include "com.h"
#include "io/File.h"

namespace vorn::fil {

/**
 * A new file beside the one that it is to be, so that whatever happens while it is written nobody finds half a file
 * under the name. It disappears unless it takes the name.
 */
class NewFile {
public:
    NewFile() noexcept = default;
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile();

    /** `name` is lent until the end. */
    int32_t Create(const WCHAR* name) noexcept;
    File& Content() noexcept { return file_; }
    /** Closes the file and gives it its name; FIL_ERR_ACCESS when there is a file of that name by now. */
    int32_t TakeName() noexcept;

private:
    const WCHAR* name_ = nullptr;
    WString sibling_;
    std::optional<SystemName> systemName_;  ///< of the sibling
    File file_;
    bool made_ = false;
};

}  // namespace vorn::fil
