#include <algorithm>
#include <cstdarg>
#include <string_view>

#include "winfiles.h"

namespace {

using Text = std::u16string_view;

struct Part {
    Text text;
    WCHAR* buffer;
    size_t capacity;

    bool HasSoundBuffer() const noexcept { return (buffer != nullptr) == (capacity > 0); }
    bool Fits() const noexcept { return !buffer || text.size() < capacity; }
    void Store(Text stored) const noexcept
    {
        if (!buffer)
            return;
        stored.copy(buffer, stored.size());
        buffer[stored.size()] = 0;
    }
};

/** Cuts the first `length` characters off `rest`. */
Text Take(Text& rest, size_t length) noexcept
{
    const Text taken = rest.substr(0, length);
    rest.remove_prefix(length);
    return taken;
}

/** Writes text as long as it fits. */
class BoundedText {
public:
    BoundedText(WCHAR* buffer, size_t capacity) noexcept : buffer_{buffer}, capacity_{capacity} {}

    bool Append(Text text) noexcept
    {
        if (text.size() >= capacity_ - length_)
            return false;
        text.copy(buffer_ + length_, text.size());
        length_ += text.size();
        return true;
    }

    bool AppendNumber(uint32_t number) noexcept
    {
        WCHAR digits[10];
        WCHAR* const end = digits + 10;
        WCHAR* begin = end;
        do {
            *--begin = static_cast<WCHAR>(u'0' + number % 10);
            number /= 10;
        } while (number > 0);
        return Append({begin, static_cast<size_t>(end - begin)});
    }

    int Finish() noexcept
    {
        buffer_[length_] = 0;
        return static_cast<int>(length_);
    }

private:
    WCHAR* buffer_;
    size_t capacity_;
    size_t length_ = 0;
};

bool AppendFormatted(BoundedText& out, WCHAR conversion, va_list* arguments) noexcept
{
    switch (conversion) {
        case u'%':
            return out.Append(u"%");
        case u's': {
            const WCHAR* text = va_arg(*arguments, const WCHAR*);
            return out.Append(text ? text : u"(null)");
        }
        case u'u':
            return out.AppendNumber(va_arg(*arguments, uint32_t));
        case u'd': {
            const int32_t number = va_arg(*arguments, int32_t);
            const auto magnitude = static_cast<uint32_t>(number);
            return number < 0 ? out.Append(u"-") && out.AppendNumber(0 - magnitude)
                              : out.AppendNumber(magnitude);
        }
        default:
            return false;
    }
}

bool Format(BoundedText& out, Text format, va_list* arguments) noexcept
{
    while (!format.empty()) {
        if (!out.Append(Take(format, std::min(format.find(u'%'), format.size()))))
            return false;
        if (format.empty())
            return true;
        if (format.size() < 2 || !AppendFormatted(out, format[1], arguments))
            return false;
        format.remove_prefix(2);
    }
    return true;
}

}  // namespace

errno_t _wsplitpath_s(const WCHAR* path, WCHAR* drive, size_t driveCapacity, WCHAR* directory,
                      size_t directoryCapacity, WCHAR* name, size_t nameCapacity, WCHAR* extension,
                      size_t extensionCapacity) noexcept
{
    Text rest = path ? Text{path} : Text{};
    const Text driveText = Take(rest, rest.size() >= 2 && rest[1] == u':' ? 2 : 0);
    const Text directoryText = Take(rest, rest.find_last_of(u"/\\") + 1);
    const Text nameText = Take(rest, std::min(rest.find_last_of(u'.'), rest.size()));

    const Part parts[] = {{driveText, drive, driveCapacity},
                          {directoryText, directory, directoryCapacity},
                          {nameText, name, nameCapacity},
                          {rest, extension, extensionCapacity}};
    errno_t result = 0;
    if (!path ||
        !std::all_of(std::begin(parts), std::end(parts), [](const Part& p) { return p.HasSoundBuffer(); }))
        result = EINVAL;
    else if (!std::all_of(std::begin(parts), std::end(parts), [](const Part& p) { return p.Fits(); }))
        result = ERANGE;
    for (const Part& part : parts) {
        if (part.capacity > 0)
            part.Store(result == 0 ? part.text : Text{});
    }
    return result;
}

int swprintf_s(WCHAR* buffer, size_t capacity, const WCHAR* format, ...) noexcept
{
    if (!buffer || capacity == 0)
        return -1;
    BoundedText out{buffer, capacity};
    va_list arguments;
    va_start(arguments, format);
    const bool fits = format && Format(out, format, &arguments);
    va_end(arguments);
    if (fits)
        return out.Finish();
    buffer[0] = 0;
    return -1;
}
