#include "tiff/StoredFields.h"

#include <cmath>

#include "tiff/Numbers.h"

namespace vorn::fil::tiff {
namespace {

enum class Tag : uint16_t {
    BitsPerSample = 258,
    Orientation = 274,
    SamplesPerPixel = 277,
    XResolution = 282,
    YResolution = 283,
    ResolutionUnit = 296
};

/** Bytes of the numbers that fields hold. */
constexpr uint32_t kShort = 2, kLong = 4;

/** Reads fields of one directory. */
class FieldReader {
public:
    FieldReader(ByteSource& source, const Chain& chain) noexcept
        : reader_{source}, widths_{chain.big ? kBig : kClassic}
    {
        reader_.SetBigEndian(chain.bigEndian);
    }

    int32_t ReadAll(const Chain& chain, StoredFields& fields) noexcept
    {
        uint64_t count = 0;
        if (const int32_t status = reader_.Read(chain.offset, widths_.count, count); status != FIL_SUCCESS)
            return status;
        for (uint64_t i = 0; i < count; ++i)
            if (const int32_t status = ReadField(chain.offset + widths_.count + i * widths_.entry, fields);
                status != FIL_SUCCESS)
                return status;
        return FIL_SUCCESS;
    }

private:
    int32_t ReadField(uint64_t at, StoredFields& fields) noexcept
    {
        uint64_t tag = 0;
        if (const int32_t status = reader_.Read(at, 2, tag); status != FIL_SUCCESS)
            return status;
        switch (static_cast<Tag>(tag)) {
            case Tag::BitsPerSample:
                return ReadNumber(at, fields.bits);
            case Tag::SamplesPerPixel:
                return ReadNumber(at, fields.samples);
            case Tag::Orientation:
                return ReadNumber(at, fields.orientation);
            case Tag::ResolutionUnit:
                return ReadNumber(at, fields.unit);
            case Tag::XResolution:
                return ReadFraction(at, fields.xResolution);
            case Tag::YResolution:
                return ReadFraction(at, fields.yResolution);
            default:
                return FIL_SUCCESS;
        }
    }

    uint64_t ValueAt(uint64_t field) const noexcept { return field + 4 + widths_.offset; }

    /** The first of a field's short numbers. */
    int32_t ReadNumber(uint64_t field, uint32_t& number) noexcept
    {
        uint64_t count = 0, at = ValueAt(field), value = 0;
        if (const int32_t status = reader_.Read(field + 4, widths_.offset, count); status != FIL_SUCCESS)
            return status;
        if (count > widths_.offset / kShort)
            if (const int32_t status = reader_.Read(at, widths_.offset, at); status != FIL_SUCCESS)
                return status;
        const int32_t status = reader_.Read(at, kShort, value);
        if (status == FIL_SUCCESS)
            number = static_cast<uint32_t>(value);
        return status;
    }

    int32_t ReadFraction(uint64_t field, double& value) noexcept
    {
        uint64_t at = ValueAt(field), above = 0, below = 0;
        if (widths_.offset < 2 * kLong)
            if (const int32_t status = reader_.Read(at, widths_.offset, at); status != FIL_SUCCESS)
                return status;
        if (const int32_t status = reader_.Read(at, kLong, above); status != FIL_SUCCESS)
            return status;
        const int32_t status = reader_.Read(at + kLong, kLong, below);
        if (status == FIL_SUCCESS)
            value = below > 0 ? static_cast<double>(above) / static_cast<double>(below) : 0;
        return status;
    }

    NumberReader reader_;
    const Widths& widths_;
};

}  // namespace

int32_t ReadStoredFields(ByteSource& source, const Chain& chain, StoredFields& fields) noexcept
{
    return FieldReader{source, chain}.ReadAll(chain, fields);
}

double DpiOf(double resolution, uint32_t unit) noexcept
{
    constexpr uint32_t kInches = 2, kCentimeters = 3;
    if (unit != kInches && unit != kCentimeters)
        return 0;
    const double dpi = unit == kCentimeters ? resolution * 2.54 : resolution;
    return std::abs(dpi - std::round(dpi)) < 0.01 ? std::round(dpi) : dpi;
}

}  // namespace vorn::fil::tiff
