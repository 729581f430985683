#include "ScanRecord.h"

#include "Failure.h"
#include "PropertyIds.h"

namespace vornscan {

ScanRecord::ScanRecord(const Session& session, const Item& item)
{
    geometry_.structSize = sizeof geometry_;
    data_.structSize = sizeof data_;
    data_.formatGuid = &format_;
    adjust_.structSize = sizeof adjust_;
    properties_.structSize = sizeof properties_;
    properties_.geometry = &geometry_;
    properties_.dataFormat = &data_;
    properties_.adjust = &adjust_;
    const int32_t status = Vorn_WiaGetProperties(session.Handle(), item.Handle(), &properties_);
    if (status != SUCCESS)
        throw StatusFailure("reading the settings of the device", status);
}

uint32_t* ScanRecord::Field(uint32_t property) noexcept
{
    struct Row {
        uint32_t property;
        uint32_t* field;
    };
    const Row rows[] = {
        {kPages, &properties_.pages},           {kDataType, &data_.dataType},
        {kDepth, &geometry_.bitsPerPixel},      {kMedium, &data_.tymed},
        {kXResolution, &geometry_.xResolution}, {kYResolution, &geometry_.yResolution},
        {kXPosition, &geometry_.xPosition},     {kYPosition, &geometry_.yPosition},
        {kXExtent, &geometry_.xExtent},         {kYExtent, &geometry_.yExtent},
        {kBrightness, &adjust_.brightness},     {kContrast, &adjust_.contrast},
    };
    for (const Row& row : rows)
        if (row.property == property)
            return row.field;
    return nullptr;
}

}  // namespace vornscan
