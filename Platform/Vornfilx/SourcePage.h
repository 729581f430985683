/**
 * @file SourcePage.h
 * A page of an image file that is to be saved elsewhere.
 */
#pragma once

#include <optional>

#include "Codec.h"

namespace vorn::fil {

/** Rows that lie in the file as a bitmap holds them are read as they are written; other pages are loaded. */
class SourcePage {
public:
    SourcePage() noexcept = default;
    SourcePage(const SourcePage&) = delete;
    SourcePage& operator=(const SourcePage&) = delete;
    ~SourcePage() { KrnFreeBitmap(&loaded_); }

    /** `source` is lent until the end; pages are counted from 1. */
    int32_t Open(ByteSource& source, const Codec& codec, uint32_t page) noexcept;
    PageRows& Rows() noexcept { return *rows_; }

private:
    PageInfo info_;
    BitmapHandle loaded_{};
    std::optional<PageRows> rows_;
};

}  // namespace vorn::fil
