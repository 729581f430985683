// How the tool fails: an exit code, and a sentence for the person at the keyboard.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace vornscan {

/** What the process answers; scripts rely on the numbers. */
enum class ExitCode {
    Ok = 0,
    Usage = 1,  ///< wrong options, or the device cannot be opened or set as asked
    Cancelled = 2,
    Busy = 3,
    Jam = 6,
    NoDocuments = 7,
    CoverOpen = 8,
    InputOutput = 9,
};

/** Ends the tool with an exit code and a message that says what happened, to what, and what to do. */
class Failure : public std::runtime_error {
public:
    Failure(ExitCode code, const std::string& message) : std::runtime_error{message}, code_{code} {}
    ExitCode Code() const noexcept { return code_; }

private:
    ExitCode code_;
};

/** The words and the exit code for a status of the library or of the file library. */
struct StatusText {
    int32_t status;
    ExitCode code;
    const char* text;  ///< follows a subject and a colon
};

/** Never fails: a status that nobody foresaw is described by its number. */
StatusText Describe(int32_t status);

/** True for a status that tells of the file to be written rather than of the device. */
bool ConcernsFile(int32_t status);

/** Tells the person at the keyboard something, on standard error; what a terminal would act on is replaced. */
void Say(const std::string& message);

/** The failure for `status` of something done to `subject`, a device or file as the person knows it. */
Failure StatusFailure(const std::string& subject, int32_t status);

}  // namespace vornscan
