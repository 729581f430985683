#include "SettingsWriter.h"

#include <algorithm>
#include <cstdlib>

#include "PropertyIds.h"

namespace vornscan {
namespace {

bool IsRefusal(int32_t status)
{
    return status == ERR_INVALID_ARGUMENT || status == ERR_ACCESS_DENIED || status == RESULT_FALSE;
}

bool IsNear(int32_t a, int32_t b, int32_t tolerance)
{
    return std::llabs(int64_t{a} - b) <= tolerance;
}

}  // namespace

void SettingsWriter::AddFormat(const GUID& format, const std::string& option)
{
    format_ = format;
    formatOption_ = option;
}

void SettingsWriter::Write()
{
    const auto isInForce = [this](const Wish& wish) {
        return Holder(wish.property).Long(wish.property) == wish.value;
    };
    if (!format_ && std::ranges::all_of(wishes_, isInForce))
        return;
    // A device that keeps the area on the paper then has it in the record to the last dot. A refusal is told below.
    for (const Wish& wish : wishes_)
        if (wish.property == kXResolution || wish.property == kYResolution)
            item_.SetLong(wish.property, wish.value);
    ScanRecord record{session_, item_};
    for (const Wish& wish : wishes_)
        *record.Field(wish.property) = static_cast<uint32_t>(wish.value);
    if (format_)
        record.Format() = *format_;

    const auto hear = [](WiaSession*, uint32_t property, int32_t status, uint32_t, void* value,
                         void* userData) -> int32_t {
        auto* writer = static_cast<SettingsWriter*>(userData);
        try {
            return writer->Hear(property, status, value);
        } catch (const Failure& failure) {
            writer->failure_ = failure;
        } catch (const std::exception& error) {
            writer->failure_ = Failure{ExitCode::InputOutput, error.what()};
        }
        return PROPERTY_WRITE_STOP;
    };
    const int32_t status = Vorn_WiaSetProperties(session_.Handle(), item_.Handle(), record.Get(), hear, this);
    if (failure_)
        throw *failure_;
    if (status != SUCCESS)
        throw StatusFailure(device_.Shown() + ", writing its settings", status);
    for (const Wish& wish : wishes_)
        CheckInForce(wish);
}

int32_t SettingsWriter::Hear(uint32_t property, int32_t status, void* value)
{
    if (property == kFormat && format_ && status != SUCCESS)
        RefuseFormat(status);
    for (Wish& wish : wishes_) {
        if (wish.property != property)
            continue;
        wish.written = true;
        if (status != SUCCESS)
            return Refuse(wish, status, *static_cast<int32_t*>(value));
    }
    return PROPERTY_WRITE_GO_ON;  // what nobody asked for may be refused
}

int32_t SettingsWriter::Refuse(Wish& wish, int32_t status, int32_t& value)
{
    if (!IsRefusal(status))
        throw StatusFailure(device_.Shown() + ", setting " + wish.option, status);
    const Item holder = Holder(wish.property);
    const std::optional<Capability> capability = FindCapability(session_, holder, wish.property);
    const ValidValues valid = capability ? capability->values : ValidValues{};
    const std::optional<int32_t> nearest = Nearest(valid, value);
    const bool mayTake = nearest_ || wish.ifRefused == IfRefused::TakeNear ||
                         (nearest && IsNear(*nearest, value, wish.tolerance));
    if (mayTake && nearest && *nearest != value) {
        if (wish.ifRefused == IfRefused::Fail && !IsNear(*nearest, wish.value, wish.tolerance))
            Tell(wish.option + " is not possible: " + InWords(*nearest, wish.unit) + " is used");
        wish.value = value = *nearest;
        return PROPERTY_WRITE_AGAIN;
    }
    if (wish.ifRefused == IfRefused::TakeNear)
        return PROPERTY_WRITE_GO_ON;

    const std::string choices = InWords(valid, wish.unit);
    const std::optional<int32_t> inForce = holder.Long(wish.property);
    throw Failure{ExitCode::Usage,
                  device_.Shown() + " does not take " + wish.option +
                      (choices.empty() ? "; choose another value" : "; it takes " + choices) +
                      (inForce ? " and is at " + InWords(*inForce, wish.unit) : "") +
                      (nearest ? " (--nearest takes the nearest)" : "")};
}

void SettingsWriter::RefuseFormat(int32_t status) const
{
    if (!IsRefusal(status))
        throw StatusFailure(device_.Shown() + ", setting " + formatOption_, status);
    const std::optional<Capability> capability = FindCapability(session_, item_, kFormat);
    throw Failure{
        ExitCode::Usage,
        device_.Shown() + " does not take " + formatOption_ +
            (capability ? "; it takes " + Printable(InWords(capability->values, Unit{})) : std::string{})};
}

void SettingsWriter::CheckInForce(const Wish& wish)
{
    const std::optional<int32_t> inForce = Holder(wish.property).Long(wish.property);
    if ((inForce && IsNear(*inForce, wish.value, wish.tolerance)) || wish.ifRefused == IfRefused::TakeNear)
        return;
    if (!inForce)
        throw Failure{ExitCode::Usage, device_.Shown() + " has no such setting: " + wish.option};
    if (!wish.written)
        throw Failure{ExitCode::Usage, device_.Shown() + " is always at " + InWords(*inForce, wish.unit) +
                                           ": leave out " + wish.option};
    Tell(wish.option + ": " + device_.Shown() + " made it " + InWords(*inForce, wish.unit));
}

void SettingsWriter::Tell(const std::string& what)
{
    if (what != told_)
        Say(what);
    told_ = what;
}

Item SettingsWriter::Holder(uint32_t property) const
{
    return property == kPages && session_.Generation() == 1 ? session_.Root() : item_;
}

}  // namespace vornscan
