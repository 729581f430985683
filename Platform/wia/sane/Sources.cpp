#include "Sources.h"

#include "OptionProperty.h"

namespace vorn::wia {

namespace {

constexpr std::string_view kDuplexWord = "duplex";

/** The switch may be inactive until the source is the feeder: whether it is there tells. */
bool HasDuplexSwitch(Scanner& scanner)
{
    const SaneOption* const option = Find(scanner, Role::DuplexSwitch);
    if (!option)
        return false;
    const auto isDuplex = [](const std::string& text) { return HasWord(text, kDuplexWord); };
    return option->type == SANE_TYPE_BOOL || !FirstText(TextsOf(*option), isDuplex).empty();
}

bool IsDuplexSwitchedOn(Scanner& scanner)
{
    const SaneOption* const option = Find(scanner, Role::DuplexSwitch);
    if (!option || !option->IsActive())
        return false;
    return option->type == SANE_TYPE_BOOL ? option->Word() != 0 : HasWord(option->Text(), kDuplexWord);
}

/** Some devices have an option of its own for scanning both sides. */
void UseDuplexSwitch(Scanner& scanner, bool duplex)
{
    SaneOption* const option = Find(scanner, Role::DuplexSwitch);
    if (!option || !option->CanBeSet() || IsDuplexSwitchedOn(scanner) == duplex)
        return;
    if (option->type == SANE_TYPE_BOOL) {
        const SANE_Word word = duplex ? SANE_TRUE : SANE_FALSE;
        const auto* bytes = reinterpret_cast<const uint8_t*>(&word);
        scanner.Set(*option, {bytes, bytes + sizeof word});
        return;
    }
    const std::string text = FirstText(
        TextsOf(*option), [duplex](const std::string& each) { return HasWord(each, kDuplexWord) == duplex; });
    if (!text.empty())
        scanner.Set(*option, TextValue(text));
}

}  // namespace

Sources SourcesOf(Scanner& scanner, std::string_view deviceType)
{
    Sources sources;
    if (const SaneOption* option = Find(scanner, Role::Source)) {
        const std::vector<std::string> texts = TextsOf(*option);
        const auto first = [&](SourceKind kind) {
            return FirstText(texts, [kind](const std::string& text) { return SourceKindOf(text) == kind; });
        };
        sources.flatbed = first(SourceKind::Flatbed);
        sources.feeder = first(SourceKind::Feeder);
        sources.duplex = first(SourceKind::Duplex);
        sources.back = first(SourceKind::Back);
        if (sources.feeder.empty())
            sources.feeder = sources.duplex;
    }
    sources.hasFeeder =
        !sources.feeder.empty() ||
        (sources.flatbed.empty() && (HasWord(deviceType, "sheet") || HasWord(deviceType, "feed")));
    sources.hasFlatbed = !sources.flatbed.empty() || !sources.hasFeeder;
    sources.hasDuplex = sources.hasFeeder && (!sources.duplex.empty() || HasDuplexSwitch(scanner));
    sources.hasBack = sources.hasFeeder && !sources.back.empty();
    return sources;
}

SourceKind SourceInForce(Scanner& scanner, const Sources& sources)
{
    const SaneOption* const option = Find(scanner, Role::Source);
    SourceKind kind = option && option->IsActive() ? SourceKindOf(option->Text()) : SourceKind::Other;
    if (kind == SourceKind::Other)
        kind = sources.hasFlatbed ? SourceKind::Flatbed : SourceKind::Feeder;
    return kind == SourceKind::Feeder && IsDuplexSwitchedOn(scanner) ? SourceKind::Duplex : kind;
}

void UseSource(Scanner& scanner, const Sources& sources, SourceKind kind)
{
    const std::string* source = &sources.feeder;
    if (kind == SourceKind::Flatbed)
        source = &sources.flatbed;
    else if (kind == SourceKind::Duplex && !sources.duplex.empty())
        source = &sources.duplex;
    else if (kind == SourceKind::Back && !sources.back.empty())
        source = &sources.back;
    SaneOption* const option = Find(scanner, Role::Source);
    if (option && option->CanBeSet() && !source->empty() && option->Text() != *source)
        scanner.Set(*option, TextValue(*source));
    UseDuplexSwitch(scanner, kind == SourceKind::Duplex);
}

}  // namespace vorn::wia
