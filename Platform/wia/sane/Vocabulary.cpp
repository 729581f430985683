#include "Vocabulary.h"

#include <algorithm>

namespace vorn::wia {

namespace {

struct RoleName {
    Role role;
    std::string_view option;
};

// A role has several names where back ends differ; the first one that a scanner has counts.
constexpr RoleName kRoles[] = {
    {Role::Source, "source"},
    {Role::Source, "doc-source"},
    {Role::DuplexSwitch, "duplex"},
    {Role::DuplexSwitch, "adf-mode"},
    {Role::DuplexSwitch, "adf_mode"},
    {Role::Mode, "mode"},
    {Role::Depth, "depth"},
    {Role::Resolution, "resolution"},
    {Role::Resolution, "x-resolution"},
    {Role::ResolutionDown, "y-resolution"},
    {Role::PageWidth, "page-width"},
    {Role::PageWidth, "pagewidth"},
    {Role::PageHeight, "page-height"},
    {Role::PageHeight, "pageheight"},
    {Role::Left, "tl-x"},
    {Role::Top, "tl-y"},
    {Role::Right, "br-x"},
    {Role::Bottom, "br-y"},
    {Role::Brightness, "brightness"},
    {Role::Contrast, "contrast"},
    {Role::Threshold, "threshold"},
    {Role::PaperSensor, "page-loaded"},
    {Role::PaperSensor, "adf-loaded"},
    {Role::PaperSensor, "paper-sensor"},
};

struct SourceWord {
    std::string_view word;
    SourceKind kind;
};

// The first word that a source's name holds counts.
constexpr SourceWord kSourceWords[] = {
    {"transparen", SourceKind::Other}, {"film", SourceKind::Other},       {"slide", SourceKind::Other},
    {"negative", SourceKind::Other},   {"tpu", SourceKind::Other},        {"tma", SourceKind::Other},
    {"duplex", SourceKind::Duplex},    {"both", SourceKind::Duplex},      {"back", SourceKind::Back},
    {"rear", SourceKind::Back},        {"adf", SourceKind::Feeder},       {"feed", SourceKind::Feeder},
    {"flatbed", SourceKind::Flatbed},  {"flat bed", SourceKind::Flatbed}, {"platen", SourceKind::Flatbed},
    {"table", SourceKind::Flatbed},    {"glass", SourceKind::Flatbed},    {"normal", SourceKind::Flatbed},
};

struct ModeWord {
    std::string_view word;
    LONG dataType;
};

constexpr ModeWord kModeWords[] = {
    {"lineart", WIA_DATA_THRESHOLD}, {"line art", WIA_DATA_THRESHOLD},  {"binary", WIA_DATA_THRESHOLD},
    {"black", WIA_DATA_THRESHOLD},   {"mono", WIA_DATA_THRESHOLD},      {"halftone", WIA_DATA_THRESHOLD},
    {"dither", WIA_DATA_THRESHOLD},  {"diffusion", WIA_DATA_THRESHOLD}, {"colo", WIA_DATA_COLOR},
    {"rgb", WIA_DATA_COLOR},         {"gray", WIA_DATA_GRAYSCALE},      {"grey", WIA_DATA_GRAYSCALE},
};

}  // namespace

bool HasWord(std::string_view text, std::string_view lowerWord) noexcept
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::search(text.begin(), text.end(), lowerWord.begin(), lowerWord.end(),
                       [lower](char a, char b) { return lower(a) == b; }) != text.end();
}

SaneOption* Find(Scanner& scanner, Role role) noexcept
{
    for (const RoleName& row : kRoles) {
        if (row.role != role)
            continue;
        if (SaneOption* option = scanner.Find(row.option))
            return option;
    }
    return nullptr;
}

std::optional<Role> RoleOf(const SaneOption& option) noexcept
{
    for (const RoleName& row : kRoles) {
        if (row.option == option.name)
            return row.role;
    }
    return std::nullopt;
}

SourceKind SourceKindOf(std::string_view source) noexcept
{
    for (const SourceWord& row : kSourceWords) {
        if (HasWord(source, row.word))
            return row.kind;
    }
    return SourceKind::Other;
}

std::optional<LONG> DataTypeOf(std::string_view mode) noexcept
{
    for (const ModeWord& row : kModeWords) {
        if (HasWord(mode, row.word))
            return row.dataType;
    }
    return std::nullopt;
}

}  // namespace vorn::wia
