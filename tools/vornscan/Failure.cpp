#include "Failure.h"

#include <iostream>

#include "Text.h"
#include "Vornfilx.h"
#include "vornwia.h"

namespace vornscan {
namespace {

constexpr StatusText kStatusTexts[] = {
    {ERR_OUT_OF_MEMORY, ExitCode::InputOutput,
     "not enough memory, or the device offers no transfer; try a lower resolution"},
    {ERR_ABORTED, ExitCode::Cancelled, "cancelled"},
    {DIALOG_CANCELLED, ExitCode::Cancelled, "nothing was chosen to acquire"},
    {ERR_TEMP_PATH, ExitCode::InputOutput, "there is no usable temporary directory; set TMPDIR to one"},
    {ERR_FILE_COPY, ExitCode::InputOutput,
     "a page was scanned but could not be written there; make room on the disk and scan it again"},
    {ERR_WIA_GENERAL_ERROR, ExitCode::InputOutput, "the device reports an error; switch it off and on"},
    {ERR_WIA_PAPER_JAM, ExitCode::Jam, "the paper is jammed; clear it and put back what was not scanned"},
    {ERR_WIA_PAPER_PROBLEM, ExitCode::Jam, "there is a problem with the paper; straighten it and try again"},
    {ERR_WIA_PAPER_EMPTY, ExitCode::NoDocuments, "the feeder is empty; put paper in"},
    {ERR_WIA_OFFLINE, ExitCode::InputOutput, "the device is switched off or not connected"},
    {ERR_WIA_BUSY, ExitCode::Busy, "the device is busy; try again in a moment"},
    {ERR_WIA_WARMING_UP, ExitCode::Busy, "the device is warming up; try again in a moment"},
    {ERR_WIA_USER_INTERVENTION, ExitCode::InputOutput, "the device waits for somebody to look after it"},
    {ERR_WIA_DEVICE_COMMUNICATION, ExitCode::InputOutput,
     "the device does not answer; check its cable or network"},
    {ERR_WIA_ITEM_DELETED, ExitCode::InputOutput,
     "what was to be acquired has gone from the device; try again"},
    {ERR_WIA_INVALID_COMMAND, ExitCode::InputOutput, "the device cannot do this; choose other settings"},
    {ERR_WIA_INCORRECT_HARDWARE_SETTING, ExitCode::InputOutput,
     "the device does not take these settings together; choose others, -A lists them"},
    {ERR_WIA_NETWORK_RESERVATION_FAILED, ExitCode::Busy,
     "another computer is using the device; try again later"},
    {ERR_WIA_UNEXPECTED, ExitCode::InputOutput,
     "the device failed and did not tell why: memory may be short; try again, or switch it off and on"},
    {ERR_WIA_DEVICE_LOCKED, ExitCode::Busy, "another program is using the device; close it and try again"},
    {ERR_WIA_EXCEPTION_IN_DRIVER, ExitCode::InputOutput,
     "the driver ended unexpectedly; try again, and switch the device off and on if that does not help"},
    {ERR_WIA_INVALID_DRIVER_RESPONSE, ExitCode::InputOutput, "the device's driver gave a wrong answer"},
    {ERR_WIA_COVER_OPEN, ExitCode::CoverOpen, "the cover is open; close it and try again"},
    {ERR_WIA_LAMP_OFF, ExitCode::InputOutput, "the lamp is off"},
    {ERR_WIA_DESTINATION, ExitCode::InputOutput,
     "the page cannot be written: see that there is room on the disks of the file and of TMPDIR, and that "
     "you may "
     "write there"},
    {ERR_WIA_NO_DEVICE_AVAILABLE, ExitCode::Usage, "there is no such device; list the devices with -L"},
    {ERR_ACCESS_DENIED, ExitCode::Usage,
     "access is denied; ask for the right to use the device, or to write where the file is to be"},
    {ERR_NO_CHILD_ITEMS, ExitCode::Usage, "the device has nothing to acquire from"},
    {FIL_ERR_NOT_FOUND, ExitCode::InputOutput, "there is no such directory, or the name is too long"},
    {FIL_ERR_ACCESS, ExitCode::InputOutput, "the file may not be written"},
    {FIL_ERR_READ, ExitCode::InputOutput, "reading failed"},
    {FIL_ERR_WRITE, ExitCode::InputOutput, "writing failed"},
    {FIL_ERR_DISK_FULL, ExitCode::InputOutput, "the disk is full; make room and scan again"},
    {FIL_ERR_UNKNOWN_FORMAT, ExitCode::InputOutput, "this is no image file"},
    {FIL_ERR_UNSUPPORTED, ExitCode::InputOutput,
     "this kind of image, or its compression, cannot be saved there; choose another"},
    {FIL_ERR_CORRUPT, ExitCode::InputOutput, "the image data is damaged"},
    {FIL_ERR_TOO_LARGE, ExitCode::InputOutput, "the image is too large; try a lower resolution"},
    {FIL_ERR_SINGLE_PAGE_FORMAT, ExitCode::InputOutput, "such a file holds one page only"},
    {FIL_ERR_OUT_OF_MEMORY, ExitCode::InputOutput, "not enough memory; try a lower resolution"},
    {FIL_ERR_INVALID_ARGUMENT, ExitCode::InputOutput, "there is no picture to save"},
    {FIL_ERR_IS_DIRECTORY, ExitCode::InputOutput, "this is a directory"},
    {FIL_ERR_LOCKED, ExitCode::InputOutput,
     "another program is adding pages to the file; wait until it is done and scan the page again"},
};

}  // namespace

StatusText Describe(int32_t status)
{
    for (const StatusText& row : kStatusTexts)
        if (row.status == status)
            return row;
    return {status, ExitCode::InputOutput, nullptr};
}

bool ConcernsFile(int32_t status)
{
    return status == ERR_FILE_COPY || (status <= FIL_ERR_NOT_FOUND && status >= FIL_ERR_LOCKED);
}

void Say(const std::string& message)
{
    std::cerr << "vornscan: " << Printable(message, Keep::LineBreaks) << "\n";
}

Failure StatusFailure(const std::string& subject, int32_t status)
{
    const StatusText found = Describe(status);
    return {found.code,
            subject + ": " +
                (found.text ? found.text : "an error without a name, number " + std::to_string(status))};
}

}  // namespace vornscan
