// Writes settings through the library's record, and sees to it that what was asked for is what is in force.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Failure.h"
#include "ScanRecord.h"
#include "Session.h"
#include "Vocabulary.h"

namespace vornscan {

/** What becomes of a value that the device refuses. */
enum class IfRefused {
    Fail,     ///< an error, unless the person asked for the nearest
    TakeNear  ///< the nearest valid value will do, as nobody asked for this very one
};

/** A value for one of the device's properties. */
struct Wish {
    uint32_t property;
    int32_t value;
    std::string option;  ///< as the person gave it, value included
    Unit unit = OwnUnit(property);
    IfRefused ifRefused = IfRefused::Fail;
    int32_t tolerance = 0;  ///< a valid value so near is as good
    bool written = false;
};

class SettingsWriter {
public:
    SettingsWriter(const Session& session, const Item& item, const Device& device, bool nearest)
        : session_{session}, item_{item}, device_{device}, nearest_{nearest}
    {
    }

    void Add(Wish wish) { wishes_.push_back(std::move(wish)); }
    /** `option`: what the format is for. */
    void AddFormat(const GUID& format, const std::string& option);

    /**
     * Writes the wishes added, everything else staying as it is; nothing when all is so already.
     * @throws Failure for a setting that the device does not have or does not take; tells what it takes
     */
    void Write();

private:
    int32_t Hear(uint32_t property, int32_t status, void* value);
    int32_t Refuse(Wish& wish, int32_t status, int32_t& value);
    void RefuseFormat(int32_t status) const;
    void CheckInForce(const Wish& wish);
    void Tell(const std::string& what);
    /** Generation 1 keeps the page count at the device itself. */
    Item Holder(uint32_t property) const;

    const Session& session_;
    const Item& item_;
    const Device& device_;
    bool nearest_;
    std::vector<Wish> wishes_;
    std::optional<GUID> format_;
    std::string formatOption_;
    std::optional<Failure> failure_;
    std::string told_;
};

}  // namespace vornscan
