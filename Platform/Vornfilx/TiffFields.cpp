#include "TiffFields.h"

namespace vorn::fil::tiff {

void FieldWriter::Put(std::vector<uint8_t>& to, uint64_t number, uint32_t bytes) const
{
    for (uint32_t i = 0; i < bytes; ++i)
        to.push_back(static_cast<uint8_t>(number >> 8 * (bigEndian_ ? bytes - 1 - i : i)));
}

void FieldWriter::Add(Tag tag, Type type, const std::vector<uint64_t>& numbers)
{
    const uint32_t bytes = NumberBytes(type);
    const uint64_t total = numbers.size() * bytes;
    const bool inside = total <= widths_.offset;

    Put(fields_, static_cast<uint16_t>(tag), 2);
    Put(fields_, static_cast<uint16_t>(type), 2);
    Put(fields_, type == Type::Rational ? numbers.size() / 2 : numbers.size(), widths_.offset);
    if (!inside)
        Put(fields_, valuesAt_ + values_.size(), widths_.offset);
    std::vector<uint8_t>& to = inside ? fields_ : values_;
    for (const uint64_t number : numbers)
        Put(to, number, bytes);
    // A value inside its field begins at the left; one outside begins at an even place.
    if (inside)
        to.resize(to.size() + static_cast<size_t>(widths_.offset - total));
    else if (total % 2)
        to.push_back(0);
    ++count_;
}

std::vector<uint8_t> FieldWriter::Bytes() const
{
    std::vector<uint8_t> bytes = values_;
    Put(bytes, count_, widths_.count);
    bytes.insert(bytes.end(), fields_.begin(), fields_.end());
    Put(bytes, 0, widths_.offset);
    return bytes;
}

}  // namespace vorn::fil::tiff
