#include "Source.h"

#include <algorithm>

#include "Capabilities.h"
#include "Failure.h"
#include "PropertyIds.h"

namespace vornscan {
namespace {

bool IsOf(const Item& item, const GUID& category)
{
    const std::optional<GUID> own = item.Guid(kItemCategory);
    return own && Same(*own, category);
}

std::optional<Item> ItemOf(const Session& session, Source source)
{
    for (const Item& child : session.Children())
        if (IsOf(child, source == Source::Flatbed ? kCategoryFlatbed : kCategoryFeeder))
            return child;
    return std::nullopt;
}

/** The bits that a document source may be. */
uint32_t HandlingBits(const Session& session, const Item& item)
{
    const std::optional<Capability> handling = FindCapability(session, item, kHandlingSelect);
    const Flags* flags = handling ? std::get_if<Flags>(&handling->values) : nullptr;
    return flags ? flags->valid : 0;
}

uint32_t HandlingOf(Source source, uint32_t generation)
{
    switch (source) {
        case Source::Flatbed:
            return WIA_SOURCE_FLATBED;
        case Source::Feeder:
            return generation == 1 ? WIA_SOURCE_FEEDER : WIA_SOURCE_FRONT_ONLY;
        case Source::Duplex:
            break;
    }
    return generation == 1 ? WIA_SOURCE_FEEDER | WIA_SOURCE_DUPLEX : WIA_SOURCE_DUPLEX;
}

std::vector<Source> Sources1(const Session& session)
{
    const uint32_t bits = HandlingBits(session, session.Root());
    std::vector<Source> sources;
    for (const Source source : {Source::Flatbed, Source::Feeder, Source::Duplex})
        if (const uint32_t handling = HandlingOf(source, 1); (bits & handling) == handling)
            sources.push_back(source);
    return sources;
}

std::vector<Source> Sources2(const Session& session)
{
    std::vector<Source> sources;
    if (ItemOf(session, Source::Flatbed))
        sources.push_back(Source::Flatbed);
    if (const std::optional<Item> feeder = ItemOf(session, Source::Feeder)) {
        sources.push_back(Source::Feeder);
        if (HandlingBits(session, *feeder) & WIA_SOURCE_DUPLEX)
            sources.push_back(Source::Duplex);
    }
    return sources;
}

}  // namespace

std::vector<Source> Sources(const Session& session)
{
    return session.Generation() == 1 ? Sources1(session) : Sources2(session);
}

std::optional<Source> SourceOf(const Session& session, const Item& item)
{
    const bool first = session.Generation() == 1;
    if (!first && IsOf(item, kCategoryFlatbed))
        return Source::Flatbed;
    const auto handling =
        static_cast<uint32_t>((first ? session.Root() : item).Long(kHandlingSelect).value_or(0));
    if (handling & WIA_SOURCE_DUPLEX)
        return Source::Duplex;
    if (handling & WIA_SOURCE_FEEDER || (!first && IsOf(item, kCategoryFeeder)))
        return Source::Feeder;
    if (handling & WIA_SOURCE_FLATBED)
        return Source::Flatbed;
    return std::nullopt;
}

Item ChooseSource(const Session& session, const Device& device, std::optional<Source> source)
{
    const bool first = session.Generation() == 1;
    const std::optional<Item> item = first || !source ? session.Children().front() : ItemOf(session, *source);
    if (!source || (item && SourceOf(session, *item) == source))
        return *item;

    // Written on its own, before the record is read: the device fits its area to the source.
    const int32_t status =
        item ? (first ? session.Root() : *item)
                   .SetLong(kHandlingSelect, static_cast<int32_t>(HandlingOf(*source, session.Generation())))
             : ERR_INVALID_ARGUMENT;
    if (status == SUCCESS)
        return *item;
    if (status != ERR_INVALID_ARGUMENT && status != ERR_ACCESS_DENIED && status != RESULT_FALSE)
        throw StatusFailure(device.Shown() + ", setting --source " + Name(*source), status);
    std::string choices;
    for (const Source known : Sources(session))
        choices.append(choices.empty() ? "; it takes " : "|").append(Name(known));
    throw Failure{ExitCode::Usage, device.Shown() + " does not take --source " + Name(*source) + choices};
}

}  // namespace vornscan
