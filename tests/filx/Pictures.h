/**
 * @file Pictures.h
 * Bitmaps and files of the file library's tests.
 */
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "Vornfilx.h"
#include "support/Files.h"

namespace vorn::test {

/** A bitmap record that frees its image. */
class Picture {
public:
    Picture() = default;
    /** A picture of noise; `seed` tells pictures apart. */
    Picture(uint32_t width, uint32_t height, uint32_t bits, uint32_t view = KRN_VIEW_BOTTOM_LEFT,
            uint32_t seed = 1);
    Picture(const Picture&) = delete;
    ~Picture() { KrnFreeBitmap(&record); }

    /** Blue, green, red; `y` counts from the top of the picture. */
    std::array<uint8_t, 3> ColorAt(uint32_t x, uint32_t y) const;
    uint32_t ValueAt(uint32_t x, uint32_t y) const;

    BitmapHandle record{};
};

/** Says where two pictures differ, or nothing. */
std::string Difference(const Picture& left, const Picture& right);

/** Files in a folder of the test's own. */
class FilesTest : public testing::Test {
protected:
    /** A name in the folder. */
    WString Name(const char* name) const { return Wide(folder.Path() / name); }
    static int32_t Save(const WString& name, const Picture& picture, int32_t format,
                        int32_t mode = FIL_SAVE_ADD_PAGE);
    static int32_t Load(const WString& name, Picture& picture, uint32_t page = 1);
    /** Runs another program in the folder, and returns how it ended; what it prints is in the file `out`. */
    int Run(const std::string& command) const;

    ScratchFolder folder;
};

/** Loads from a copy that ends just with the data, so that a read past it is seen. */
int32_t LoadBytes(std::string_view bytes, Picture& picture);

}  // namespace vorn::test
