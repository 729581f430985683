#include "Driver.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include <poll.h>

namespace vorn::sane {

namespace {

/** A device that only claims to say when data has come is read after this time all the same. */
constexpr int kDataPatience = 10'000;  // milliseconds

/** Some back ends write more of a value than they announce. */
constexpr size_t kSpareBytes = 4096;

/** A back end's enumerator, which may be none. */
template <typename Enumeration>
Enumeration Checked(const Enumeration& enumerator)
{
    int number = 0;
    static_assert(sizeof number == sizeof enumerator);
    std::memcpy(&number, &enumerator, sizeof number);
    return EnumeratorOf<Enumeration>(number);
}

std::string ToText(const char* text)
{
    return text ? std::string{text, strnlen(text, kMostTextBytes)} : std::string{};
}

void ReadConstraint(const SANE_Option_Descriptor& descriptor, Option& option)
{
    const auto& constraint = descriptor.constraint;
    const SANE_Constraint_Type type = Checked(descriptor.constraint_type);
    if (type == SANE_CONSTRAINT_RANGE && constraint.range)
        option.range = *constraint.range;
    if (type == SANE_CONSTRAINT_WORD_LIST && constraint.word_list) {
        const SANE_Int count = std::clamp<SANE_Int>(constraint.word_list[0], 0, kMostListed);
        option.words.assign(constraint.word_list + 1, constraint.word_list + 1 + count);
    }
    if (type == SANE_CONSTRAINT_STRING_LIST && constraint.string_list)
        for (const SANE_String_Const* text = constraint.string_list;
             *text && option.texts.size() < static_cast<size_t>(kMostListed); ++text)
            option.texts.push_back(ToText(*text));
}

}  // namespace

Driver::Driver()
{
    SANE_Int version = 0;
    initialised_ = sane_init(&version, nullptr);
    if (initialised_ == SANE_STATUS_GOOD && SANE_VERSION_MAJOR(version) != SANE_CURRENT_MAJOR)
        initialised_ = SANE_STATUS_UNSUPPORTED;
}

SANE_Status Driver::Search(bool local, std::vector<FoundScanner>& found)
{
    if (initialised_ != SANE_STATUS_GOOD)
        return initialised_;
    const SANE_Device** devices = nullptr;
    const SANE_Status status = sane_get_devices(&devices, local ? SANE_TRUE : SANE_FALSE);
    if (status != SANE_STATUS_GOOD)
        return status;
    for (; devices && *devices; ++devices)
        found.push_back({ToText((*devices)->name), ToText((*devices)->vendor), ToText((*devices)->model),
                         ToText((*devices)->type)});
    return status;
}

SANE_Status Driver::Open(const std::string& name)
{
    return initialised_ == SANE_STATUS_GOOD ? sane_open(name.c_str(), &handle_) : initialised_;
}

void Driver::Close()
{
    Cancel();
    if (handle_)
        sane_close(std::exchange(handle_, nullptr));
    if (initialised_ == SANE_STATUS_GOOD)
        sane_exit();
}

RawValue Driver::ValueOf(const Option& option)
{
    if (!option.CanBeRead())
        return {};
    const auto size = static_cast<size_t>(option.size);
    RawValue value(size + kSpareBytes);
    if (sane_control_option(handle_, option.index, SANE_ACTION_GET_VALUE, value.data(), nullptr) !=
        SANE_STATUS_GOOD)
        return {};
    value.resize(size);
    return value;
}

std::optional<Option> Driver::Describe(SANE_Int index)
{
    const SANE_Option_Descriptor* const descriptor = sane_get_option_descriptor(handle_, index);
    if (!descriptor)
        return std::nullopt;
    Option option;
    option.index = index;
    option.name = ToText(descriptor->name);
    option.type = Checked(descriptor->type);
    option.unit = Checked(descriptor->unit);
    option.size = descriptor->size;
    option.capabilities = descriptor->cap;
    ReadConstraint(*descriptor, option);
    if (!IsSound(option))
        return std::nullopt;
    option.value = ValueOf(option);
    return option;
}

/** The first option only says how many there are. Across a network options have no values before they are described anew. */
std::vector<Option> Driver::Options()
{
    std::array<SANE_Int, kSpareBytes / sizeof(SANE_Int)> count{};
    const SANE_Option_Descriptor* const first = sane_get_option_descriptor(handle_, 0);
    if (first && first->size > 0 && static_cast<size_t>(first->size) <= sizeof count)
        sane_control_option(handle_, 0, SANE_ACTION_GET_VALUE, count.data(), nullptr);
    std::vector<Option> options;
    for (SANE_Int i = 1; i < std::min(count[0], kMostOptions); ++i)
        if (std::optional<Option> option = Describe(i))
            options.push_back(std::move(*option));
    return options;
}

SANE_Status Driver::Set(SANE_Int index, const std::optional<RawValue>& value, SANE_Int& info)
{
    RawValue bytes = value.value_or(RawValue{});
    bytes.resize(bytes.size() + kSpareBytes);  // back ends write into it what they made of the value
    return sane_control_option(handle_, index, SANE_ACTION_SET_VALUE, value ? bytes.data() : nullptr, &info);
}

SANE_Status Driver::Parameters(SANE_Parameters& parameters)
{
    parameters = {};
    const SANE_Status status = sane_get_parameters(handle_, &parameters);
    parameters.format = Checked(parameters.format);
    return status;
}

SANE_Status Driver::Start()
{
    dataDescriptor_ = -1;
    batch_ = true;  // some devices want to be told the end also of a start that failed
    const SANE_Status status = sane_start(handle_);
    if (status != SANE_STATUS_GOOD)
        return status;
    sane_set_io_mode(handle_, SANE_FALSE);
    SANE_Int descriptor = -1;
    if (sane_get_select_fd(handle_, &descriptor) == SANE_STATUS_GOOD)
        dataDescriptor_ = descriptor;
    return status;
}

void Driver::AwaitData(int other) const
{
    std::array<pollfd, 2> waiting{{{dataDescriptor_, POLLIN, 0}, {other, POLLIN, 0}}};
    if (dataDescriptor_ >= 0)
        poll(waiting.data(), waiting.size(), kDataPatience);
}

bool Driver::HasHungUp() const
{
    pollfd state{dataDescriptor_, POLLIN, 0};
    return dataDescriptor_ >= 0 && poll(&state, 1, 0) > 0 && (state.revents & (POLLHUP | POLLERR)) != 0;
}

SANE_Status Driver::Read(uint8_t* data, size_t capacity, size_t& length)
{
    SANE_Int read = 0;
    const auto most = static_cast<SANE_Int>(capacity);
    const SANE_Status status = sane_read(handle_, data, most, &read);
    if (status == SANE_STATUS_GOOD && (read < 0 || read > most))
        return SANE_STATUS_INVAL;
    length = status == SANE_STATUS_GOOD ? static_cast<size_t>(read) : 0;
    return status;
}

void Driver::Cancel()
{
    if (std::exchange(batch_, false))
        sane_cancel(handle_);
    dataDescriptor_ = -1;
}

}  // namespace vorn::sane
