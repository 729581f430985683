/**
 * @file png/Pages.h
 * Reading the page of a PNG file by libpng, and what it takes to write one.
 */
#pragma once

#include "Codec.h"
#include "ImageWriter.h"

namespace vorn::fil::png {

/** As the codec's operations of these names. */
int32_t ReadInfo(ByteSource& source, PageInfo& info) noexcept;
int32_t Load(ByteSource& source, BitmapHandle& bitmap) noexcept;

/** True when no data of a file of that size deflates to all pixels of the page. */
constexpr bool IsTooShort(uint64_t fileBytes, const PageInfo& page) noexcept
{
    constexpr uint64_t kMostDeflated = 1032;  // bytes that one of deflated data stands for
    return (uint64_t{page.width} * page.storedBits + 7) / 8 * page.height / kMostDeflated > fileBytes;
}

/**
 * The fastest way to a file that is hardly larger than the smallest. May throw std::bad_alloc.
 */
PngStrategy ChooseStrategy(PageRows& bitmap);

}  // namespace vorn::fil::png
