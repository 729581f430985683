/**
 * @file Notes.h
 * What an application's callback heard, for comparison: one text a call, and a copy of each page.
 */
#pragma once

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "LibraryTest.h"
#include "Vornkrnx.h"

namespace vorn::test {

/** A page as a callback saw it. */
struct SeenPage {
    uint32_t width = 0, height = 0, bitsPerPixel = 0, viewPerspective = 0;
    double xDpi = 0, yDpi = 0;
    std::vector<uint8_t> pixels;
    std::vector<uint8_t> palette;
};

/** An application that notes what it hears; its Callback and FileCallback take a Notes as user data. */
struct Notes {
    std::vector<std::string>
        calls;  ///< "state percent", then the file name when there is one, "+" for a bitmap
    std::vector<SeenPage> pages;
    /** Called after each note with the number of calls so far; its value is the application's answer. */
    std::function<int32_t(size_t)> answer = [](size_t) { return 1; };

    static int32_t Callback(WiaSession*, BitmapHandle* bitmap, const WCHAR* name, int32_t percent,
                            int32_t state, void* data)
    {
        return static_cast<Notes*>(data)->Note(bitmap, name, percent, state);
    }
    static int32_t FileCallback(WiaSession*, const WCHAR* name, int32_t percent, int32_t state, void* data)
    {
        return static_cast<Notes*>(data)->Note(nullptr, name, percent, state);
    }

    int32_t Note(BitmapHandle* bitmap, const WCHAR* name, int32_t percent, int32_t state)
    {
        std::ostringstream text;
        text << state << " " << percent;
        if (name && name[0])
            text << " " << Narrow(name);
        if (bitmap) {
            text << " +";
            Keep(*bitmap);
        }
        calls.push_back(text.str());
        return answer(calls.size());
    }

private:
    void Keep(BitmapHandle& bitmap)
    {
        SeenPage page{bitmap.width,
                      bitmap.height,
                      bitmap.bitsPerPixel,
                      bitmap.viewPerspective,
                      bitmap.xDpi,
                      bitmap.yDpi,
                      {},
                      {}};
        if (bitmap.flags & KRN_BITMAP_HAS_IMAGE) {
            KrnAccessBitmap(&bitmap);
            const auto* image = static_cast<const uint8_t*>(bitmap.image);
            page.pixels.assign(image, image + bitmap.imageBytes);
            KrnReleaseBitmapAccess(&bitmap);
            if (bitmap.palette)
                page.palette.assign(bitmap.palette, bitmap.palette + size_t{bitmap.paletteCount} * 4);
        }
        pages.push_back(std::move(page));
    }
};

}  // namespace vorn::test
