#include "NamedSettings.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

#include "Choice.h"
#include "Failure.h"
#include "Text.h"
#include "Vocabulary.h"

namespace vornscan {
namespace {

// The platform's types of what can be typed, beside numbers with a fraction: a text, and numbers of 16 and 32 bits.
constexpr uint32_t kText = 8;
constexpr uint32_t kNumbers[] = {2, 3, 18, 19, 22, 23};

bool CanBeTyped(const Capability& capability)
{
    return capability.type == kText || IsReal(capability.type) ||
           std::ranges::count(kNumbers, capability.type) != 0;
}

/** A property that can be set, and the item that has it. */
struct Setting {
    Item holder;
    Capability capability;
};

/** What can be set now. A name that the item and the device have is the item's. */
std::vector<Setting> Settable(const Session& session, const Item& item)
{
    std::vector<Setting> settings;
    for (const Item& holder : {item, session.Root()})
        for (const Capability& capability : Capabilities(session, holder))
            if (capability.writable && CanBeTyped(capability) &&
                std::ranges::none_of(settings, [&](const Setting& other) {
                    return SmallLetters(other.capability.name) == SmallLetters(capability.name);
                }))
                settings.push_back({holder, capability});
    return settings;
}

Setting Find(const Session& session, const Item& item, const Device& device, const std::string& name)
{
    const std::vector<Setting> settings = Settable(session, item);
    std::string names;
    for (const Setting& setting : settings) {
        if (SmallLetters(setting.capability.name) == SmallLetters(name))
            return setting;
        names.append(names.empty() ? "" : ", ").append(Printable(setting.capability.name));
    }
    throw Failure{ExitCode::Usage, "--set " + name + ": " + device.Shown() +
                                       " has nothing of that name that can be set now; it has " + names};
}

/** The one of these texts that is meant, in any case; `typed` itself when none is. */
std::string Meant(const ValidValues& values, const std::string& typed)
{
    if (const auto* texts = std::get_if<std::vector<std::string>>(&values))
        for (const std::string& text : *texts)
            if (SmallLetters(text) == SmallLetters(typed))
                return text;
    return typed;
}

/** A number as it is shown, as digits, or as a switch's yes or no. */
std::optional<int32_t> NumberOf(const Capability& capability, const std::string& typed)
{
    const std::string word = SmallLetters(typed);
    if (const auto* numbers = std::get_if<std::vector<int32_t>>(&capability.values))
        for (const int32_t number : *numbers)
            if (SmallLetters(InWords(number, OwnUnit(capability.id))) == word)
                return number;
    if (word == "yes" || word == "no")
        return word == "yes";
    int32_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error == std::errc{} && end == word.data() + word.size() ? std::optional{number} : std::nullopt;
}

int32_t Set(const Setting& setting, const std::string& typed)
{
    if (setting.capability.type == kText)
        return setting.holder.SetText(ToWide(setting.capability.name).c_str(),
                                      Meant(setting.capability.values, typed));
    const std::optional<int32_t> number = NumberOf(setting.capability, typed);
    if (!number && IsReal(setting.capability.type))
        return setting.holder.SetText(ToWide(setting.capability.name).c_str(), typed);
    return number ? setting.holder.SetLong(setting.capability.id, *number) : ERR_INVALID_ARGUMENT;
}

/** A whole number can become the nearest one that the device has. */
void SayIfOther(const Setting& setting, const Device& device, const std::string& option,
                const std::string& typed)
{
    if (!IsReal(setting.capability.type))
        return;
    const std::optional<double> inForce = setting.holder.Real(setting.capability.id);
    double number = 0;
    const auto [end, error] = std::from_chars(typed.data(), typed.data() + typed.size(), number);
    if (inForce && error == std::errc{} && end == typed.data() + typed.size() && *inForce != number)
        Say("--set " + option + ": " + device.Shown() + " made it " + InWords(*inForce));
}

void Apply(const Session& session, const Item& item, const Device& device, const std::string& option)
{
    const size_t equals = option.find('=');
    if (equals == 0 || equals == option.npos)
        throw Failure{ExitCode::Usage,
                      "--set " + option + ": give a name and a value, as in --set name=value"};
    const Setting setting = Find(session, item, device, option.substr(0, equals));
    const std::string typed = option.substr(equals + 1);
    if (Set(setting, typed) == SUCCESS) {
        SayIfOther(setting, device, option, typed);
        return;
    }
    const Unit unit = OwnUnit(setting.capability.id);
    const std::string choices = Printable(InWords(setting.capability.values, unit));
    throw Failure{ExitCode::Usage,
                  device.Shown() + " does not take --set " + option +
                      (choices.empty() ? "; choose another value" : "; it takes " + choices) + " and is at " +
                      Printable(InWords(ReadValue(setting.holder, setting.capability), unit))};
}

}  // namespace

void ApplyNamedSettings(const Session& session, const Item& item, const Device& device,
                        const std::vector<std::string>& settings)
{
    for (const std::string& setting : settings)
        Apply(session, item, device, setting);
}

}  // namespace vornscan
