/**
 * @file Desk.h
 * An application at work: a session on a device defined by the test, and what its acquisitions give.
 */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Vornfilx.h"
#include "support/LibraryTest.h"
#include "support/Notes.h"
#include "wia/virtual/DeviceBuilder.h"

namespace vorn::test {

using namespace vorn::wia;

/** The four ways that pages take. */
struct Road {
    const char* name;
    Generation generation;
    bool file;
};
constexpr Road kMemory1{"1.0 memory", Generation::One, false};
constexpr Road kFile1{"1.0 file", Generation::One, true};
constexpr Road kMemory2{"2.0 memory", Generation::Two, false};
constexpr Road kFile2{"2.0 file", Generation::Two, true};
constexpr Road kRoads[] = {kMemory1, kFile1, kMemory2, kFile2};
constexpr Generation kGenerations[] = {Generation::One, Generation::Two};

/** "2.0 file, to file": a trace of a test's rows. */
std::string Trace(const Road& road, bool toFile);

/** Pages of one colour whose value is their number, counted from 1. */
std::vector<CannedPage> NumberedPages(uint32_t count);

/** The virtual scanner with these pages in its feeder and on its glass, in either generation. */
DeviceBuilder ScannerWith(std::vector<CannedPage> pages, bool forever = false);

/** A scanner whose transfers to a file write these bytes and succeed; without bytes they write nothing. */
DeviceBuilder WriterOf(std::string bytes);

/** A camera with one picture an item, its value the picture's number. */
DeviceBuilder CameraWith(uint32_t pictures);

/** What an acquisition gave. */
struct Outcome {
    int32_t status = 0;
    uint32_t fileCount = 0;
    bool listed = false;             ///< a list was given
    std::vector<std::string> files;  ///< the listed names without their folder; "(null)" for an empty slot
    std::vector<std::string> calls;  ///< as Notes tells them, names without their folder
    std::vector<SeenPage> pages;

    /** The number of each bitmap delivered: "1 2 3". */
    std::string Pages() const;
};

/** The number of each page of a file: "1 2 3"; "status" and a code when it cannot be read. */
std::string PagesOf(const std::filesystem::path& file);

/** The pages of an outcome on either kind of road, those of files in the order of the list; no empty bitmaps. */
std::vector<SeenPage> DeliveredPages(const Outcome& outcome, const std::filesystem::path& folder);
/** Their numbers. */
std::string Delivered(const Outcome& outcome, const std::filesystem::path& folder);

/** Adds a page of that number to a TIFF or BMP file. */
void AddPage(const std::filesystem::path& file, uint8_t number);

AcquireOptions Named(const std::filesystem::path& file, uint32_t overwrite = 0, uint32_t multiPage = 0,
                     uint32_t append = 0);

class Desk {
public:
    /** A session on the device; nothing is set. */
    Desk(Generation generation, const DeviceBuilder& device);
    /** Set up for a road: the scanner's source, page count, medium, and a bitmap format. */
    Desk(const Road& road, const DeviceBuilder& device, LONG pages, bool feeder = true);
    Desk(const Desk&) = delete;
    ~Desk();

    WiaSession* Session() const { return session_; }
    WiaItemHandle Root() const;
    /** The child of the root with that name; freed with the desk. */
    WiaItemHandle Child(WStringView name);

    /** The device's failures to come, counted from now. */
    FaultPlan& Faults() const { return *Service::Instance().DevicesAtHand().front()->Definition().faults; }

    void Set(WiaItemHandle target, PROPID id, LONG value);
    LONG Get(WiaItemHandle target, PROPID id);
    void SetFormat(REFGUID format);
    void SetMedium(bool file);

    /** Acquires `item`; `notes.answer` is the application's answer. */
    Outcome Acquire(const AcquireOptions* options, Notes notes = {});
    Outcome Acquire(const AcquireOptions& options = AcquireOptions{}, Notes notes = {})
    {
        return Acquire(&options, std::move(notes));
    }

    WiaItemHandle item = nullptr;  ///< what Acquire transfers; lent
    uint32_t flags = 0;
    bool toFile = false;  ///< through Vorn_WiaAcquireToFile
    // What is passed, else null.
    bool wantCount = true, wantList = true, callback = true;
    uint32_t listLength = 0;  ///< of the list to come, when its count is not wanted

private:
    Generation generation_;
    ScopedDevices devices_;
    WiaSession* session_ = nullptr;
    std::vector<WiaItemHandle> children_;
};

/** What was written through the out arguments of an acquisition, the list freed. */
Outcome Collect(int32_t status, uint32_t fileCount, WCHAR** list, Notes notes);

/** An application that stops at its n-th call. */
inline Notes StopAt(size_t nth)
{
    Notes notes;
    notes.answer = [nth](size_t call) { return call == nth ? ERR_ABORTED : 1; };
    return notes;
}

/** Acquisitions from desks into the folder of the test. */
class AcquireTest : public LibraryTest {
protected:
    /** Acquires on a desk; a road to files writes a.bmp and its numbered names, replacing them. */
    Outcome Scan(Desk& desk, Notes notes = {})
    {
        return desk.Acquire(Named(Folder() / "a.bmp", 1), std::move(notes));
    }
    void EmptyFolder();
    /** "a (1).bmp=2, a.bmp=1": the files of a folder with their pages; "" where no file has the name. */
    static std::string In(const std::filesystem::path& folder);
    /** A page of that number as a file's bytes. */
    std::string PageFile(uint8_t number);
};

/** Answers dialogs as a test says, and notes what was asked. */
struct Dialogs : DialogProvider {
    HRESULT answer = S_OK;
    std::vector<size_t> choice;  ///< positions among the items offered; empty: all
    std::vector<WString> files;  ///< as if written by the image dialog
    std::vector<std::string> asked;

    HRESULT SelectDevice(const DeviceQuestion& question, DevicePtr& chosen) override;
    HRESULT SelectItems(const ItemsQuestion& question, std::vector<Item*>& chosen) override;
    HRESULT SelectImages(const ImageQuestion& question, std::vector<Item*>& chosen,
                         std::vector<WString>& written) override;
};

}  // namespace vorn::test
