/**
 * @file Faulty.h
 * How a COM method passes a step at which its device may have been told to fail.
 */
#pragma once

#include <optional>

#include "../model/Device.h"

namespace vorn::wia {

/** What the method is to answer in place of its work; out arguments are null by then. */
inline std::optional<HRESULT> Interrupted(const Device& device, Step step, PROPID property = 0)
{
    const std::optional<Fault> fault = device.Pass(step, property);
    if (!fault)
        return std::nullopt;
    return fault->nullObject ? S_OK : fault->result;
}

}  // namespace vorn::wia
