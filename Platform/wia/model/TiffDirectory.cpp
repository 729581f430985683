#include "TiffDirectory.h"

#include <algorithm>
#include <utility>

#include "ByteWriter.h"

namespace vorn::wia {

namespace {

constexpr uint32_t kCountBytes = 2;
constexpr uint32_t kFieldBytes = 12;
constexpr uint32_t kLinkBytes = 4;
constexpr uint32_t kInlineBytes = 4;

}  // namespace

uint32_t TiffDirectory::Field::ValueBytes() const noexcept
{
    const auto count = static_cast<uint32_t>(values.size());
    if (type == Type::Ascii)
        return count > kInlineBytes ? count + count % 2 : count;
    return count * (type == Type::Short ? 2 : 4);
}

void TiffDirectory::Add(TiffTag tag, Type type, std::vector<uint32_t> values)
{
    fields_.push_back({tag, type, std::move(values)});
}

void TiffDirectory::Replace(TiffTag tag, std::vector<uint32_t> values)
{
    const auto field =
        std::find_if(fields_.begin(), fields_.end(), [tag](const Field& each) { return each.tag == tag; });
    if (field != fields_.end())
        field->values = std::move(values);
}

uint32_t TiffDirectory::LinkOffset() const noexcept
{
    return kCountBytes + kFieldBytes * static_cast<uint32_t>(fields_.size());
}

uint64_t TiffDirectory::Size() const noexcept
{
    uint64_t size = LinkOffset() + kLinkBytes;
    for (const Field& field : fields_)
        if (field.ValueBytes() > kInlineBytes)
            size += field.ValueBytes();
    return size;
}

std::vector<uint8_t> TiffDirectory::Bytes(uint32_t offset) const
{
    ByteWriter directory, behind;
    const uint32_t behindOffset = offset + LinkOffset() + kLinkBytes;

    directory.Put16(static_cast<uint16_t>(fields_.size()));
    for (const Field& field : fields_) {
        ByteWriter values;
        for (const uint32_t value : field.values) {
            if (field.type == Type::Ascii)
                values.Put8(static_cast<uint8_t>(value));
            else if (field.type == Type::Short)
                values.Put16(static_cast<uint16_t>(value));
            else
                values.Put32(value);
        }
        values.PutZeros(field.ValueBytes() - values.Size());

        const size_t valuesPerItem = field.type == Type::Rational ? 2 : 1;
        directory.Put16(static_cast<uint16_t>(field.tag));
        directory.Put16(static_cast<uint16_t>(field.type));
        directory.Put32(static_cast<uint32_t>(field.values.size() / valuesPerItem));
        if (values.Size() > kInlineBytes) {
            directory.Put32(behindOffset + static_cast<uint32_t>(behind.Size()));
            behind.Put(values.Bytes());
        } else {
            values.PutZeros(kInlineBytes - values.Size());
            directory.Put(values.Bytes());
        }
    }
    directory.Put32(0);
    directory.Put(behind.Bytes());
    return directory.Bytes();
}

}  // namespace vorn::wia
