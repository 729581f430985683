/**
 * @file Protocol.h
 * What the driver host process and the application say to each other.
 *
 * The application sends requests, each with a number that its answer repeats, and the host answers with SANE's status. One request
 * is under way at a time, but for a Cancel, which may follow a Start or a Read that has not been answered.
 *
 * | Request    | asks with                               | after the status the answer has                          |
 * | ---------- | --------------------------------------- | -------------------------------------------------------- |
 * | Search     | whether on this machine only            | the scanners                                             |
 * | Open       | the name                                | all options                                              |
 * | Set        | the index, whether a value, the value   | whether all options follow, those that may have changed  |
 * | Get        | the index                               | the value                                                |
 * | Parameters |                                         | the parameters                                           |
 * | Start      |                                         | the parameters                                           |
 * | Read       |                                         | nothing, at the end of the frame; its lines come through the ring |
 * | Cancel     |                                         | nothing                                                  |
 *
 * The ring is shared memory in slots of whole lines. The host fills them in turn and sends the number of bytes of each over
 * a socket of its own; a byte in the other direction gives a slot back.
 */
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sane/sane.h>

#include "../../../process/Channel.h"

namespace vorn::sane {

enum class Request : int32_t { Search, Open, Set, Get, Parameters, Start, Read, Cancel };

/** Where the host finds what the application passes to it. */
enum PassedDescriptor { kControl = 3, kRing = 4, kRingMemory = 5 };

/** The ring: slots of whole lines, at least one line each. */
struct RingLayout {
    static constexpr size_t kBytes = 4 * 1024 * 1024;
    static constexpr size_t kMostLineBytes = kBytes / 2;

    /** @param lineBytes  1 to kMostLineBytes */
    explicit RingLayout(size_t lineBytes) noexcept;

    size_t slotBytes;  ///< a multiple of the line's
    size_t slots;
};

/** No page, option or list is larger; what a back end says beyond is an error of its. */
constexpr SANE_Int kMostOptions = 2048;
constexpr SANE_Int kMostValueBytes = 1024 * 1024;
constexpr SANE_Int kMostListed = 16384;
constexpr size_t kMostTextBytes = 4096;
constexpr size_t kMostScanners = 1024;

/** What SANE says of a scanner that it has found. */
struct FoundScanner {
    std::string name, vendor, model, type;
};

/** The bytes of an option's value, as SANE takes them. */
using RawValue = std::vector<uint8_t>;

/** An option: what the back end says of it, and its value in force. */
struct Option {
    SANE_Int index = 0;
    std::string name;
    SANE_Value_Type type = SANE_TYPE_GROUP;
    SANE_Unit unit = SANE_UNIT_NONE;
    SANE_Int size = 0;
    SANE_Int capabilities = 0;
    std::optional<SANE_Range> range;
    std::vector<SANE_Word> words;    ///< one of these, where there are some
    std::vector<std::string> texts;  ///< one of these, where there are some
    RawValue value;                  ///< empty for a button, and while it cannot be read

    bool IsActive() const noexcept { return SANE_OPTION_IS_ACTIVE(capabilities); }
    bool CanBeSet() const noexcept { return IsActive() && SANE_OPTION_IS_SETTABLE(capabilities); }
    bool CanBeRead() const noexcept
    {
        return IsActive() && (capabilities & SANE_CAP_SOFT_DETECT) && type != SANE_TYPE_BUTTON;
    }
    bool IsNumber() const noexcept { return type == SANE_TYPE_INT || type == SANE_TYPE_FIXED; }
    /** A number that is not one of several. */
    bool IsSingleNumber() const noexcept { return IsNumber() && size == sizeof(SANE_Word); }

    /** The first word of the value; 0 without one. */
    SANE_Word Word() const noexcept;
    /** The number of a fixed-point or integer option. */
    double Number() const noexcept;
    std::string Text() const;
};

/** False for an option whose type, size or lists contradict each other or are beyond all bounds. */
bool IsSound(const Option& option) noexcept;

/** The enumerator of a number, which may be any; those beyond all that SANE knows become `kUnknown`. */
template <typename Enumeration, int kUnknown = 7>
Enumeration EnumeratorOf(int number) noexcept
{
    return static_cast<Enumeration>(number >= 0 && number < kUnknown ? number : kUnknown);
}

void Put(process::MessageWriter& message, const std::vector<FoundScanner>& found);
void Put(process::MessageWriter& message, const std::vector<Option>& options);
void Put(process::MessageWriter& message, const SANE_Parameters& parameters);

// Each throws process::Lost for a message that has no such thing, or one that is not sound.
void Take(process::MessageReader& message, std::vector<FoundScanner>& found);
void Take(process::MessageReader& message, std::vector<Option>& options);
void Take(process::MessageReader& message, SANE_Parameters& parameters);

}  // namespace vorn::sane
