/**
 * @file Scene.h
 * An application with a session on one device, and what an operation gave it.
 */
#pragma once

#include <array>
#include <cstdint>
#include <utility>

#include "vornwia.h"
#include "wintypes.h"

namespace vorn::test {

struct Device {
    const char* name;
    const WCHAR* id;
    int32_t type;
    bool feeder = false;   ///< take pages from it
    bool foreign = false;  ///< its back end does not survive failed allocations of its own
};

/** What an acquisition is to give. */
struct Output {
    const char* name;
    const char* extension = nullptr;  ///< null: bitmaps in memory
    const GUID* format = nullptr;
    int32_t medium = 0;
    int32_t dataType = 0;
    uint32_t multiPage = 0, append = 0;
    bool folder = false;     ///< pages are the images of a folder
    int32_t fileFormat = 0;  ///< of the file library
};

/**
 * What an operation gave, as one text. Nothing here allocates: it would be counted.
 */
class Digest {
public:
    [[gnu::format(printf, 2, 3)]] void Add(const char* format, ...);
    const char* Text() const { return text_.data(); }

private:
    std::array<char, 1024> text_{};
    size_t length_ = 0;
};

struct Scene {
    uint32_t version;
    const Device& device;
    const Output* output;
    const char* folder;  ///< where output files go; empty but for a file to append to
    const char* pages;   ///< a folder of images

    WiaSession* session = nullptr;
    WiaItemHandle root = nullptr, item = nullptr;
    Digest digest{};
    bool pageMissing = false;  ///< one began and had no end, so that the application knows

    /** What most operations take. */
    std::pair<WiaSession*, WiaItemHandle> Target() const { return {session, item}; }

    void OpenSession();
    void SelectDevice();
    /** Takes an item, and has it deliver small pages. */
    void TakeItem();
    /**
     * Sets medium and page count, which an acquisition cannot put back while allocations fail, and puts paper into the
     * device.
     */
    void SetUp();
    void Close();
};

/** How much is there when an operation begins. */
enum class Needs { Nothing, Session, Device, Item, Video };

struct Operation {
    const char* name;
    Needs needs;
    int32_t (*act)(Scene& scene);
    const Output* outputs = nullptr;  ///< it is repeated for each of them
    bool endsSession = false;
};

/** All of them; a null name ends the list. */
extern const Operation kOperations[];
extern const Output kOutputs[];
extern const Output kSaved[];  ///< of the file library

}  // namespace vorn::test
