/**
 * @file Protocol.h
 * What the driver host process and the application say to each other.
 *
 * The application sends a request {"id", "do", ...}, the host answers {"id", "status", ...} with SANE's status. One request
 * is under way at a time, but for "cancel", which may follow a "start" or a "read" that has not been answered.
 *
 * | do           | asks for                     | the answer has                                                |
 * | ------------ | ---------------------------- | ------------------------------------------------------------- |
 * | "search"     | "local": only on this machine | "devices"                                                    |
 * | "open"       | "name"                       | "options": all                                                |
 * | "set"        | "index", "value" (of a button none) | "options": all that may have changed, "all": of the device |
 * | "get"        | "index"                      | "value"                                                       |
 * | "parameters" |                              | "parameters"                                                  |
 * | "start"      |                              | "parameters"                                                  |
 * | "read"       |                              | at the end of the frame; its lines come through the ring      |
 * | "cancel"     |                              |                                                               |
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
#include <nlohmann/json_fwd.hpp>

namespace vorn::sane {

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

/** The enumerator of a number, which may be any; one beyond all that SANE knows is `kUnknown` of them. */
template <typename Enumeration>
Enumeration EnumeratorOf(int number) noexcept
{
    constexpr int kUnknown = 7;
    return static_cast<Enumeration>(number >= 0 && number < kUnknown ? number : kUnknown);
}

nlohmann::json ToMessage(const FoundScanner& found);
nlohmann::json ToMessage(const Option& option);
nlohmann::json ToMessage(const SANE_Parameters& parameters);

// Each throws nlohmann::json::exception for a message that is none.
void FromMessage(const nlohmann::json& message, FoundScanner& found);
void FromMessage(const nlohmann::json& message, Option& option);
void FromMessage(const nlohmann::json& message, SANE_Parameters& parameters);

}  // namespace vorn::sane
