/**
 * @file RotatedPage.h
 * A page that the device turns before it hands it over.
 */
#pragma once

#include <memory>

#include "Page.h"

namespace vorn::wia {

/** Whether a value of WIA_IPS_ROTATION lays a page on its side: width and height change places. */
constexpr bool IsQuarterTurn(LONG rotation) noexcept
{
    return rotation == LANSCAPE || rotation == ROT270;
}

/**
 * `page` turned against the clock by the angle that a value of WIA_IPS_ROTATION tells; `page` itself for
 * PORTRAIT. A device keeps a page that it turns in memory: it is scanned to its end when its first rows are
 * asked for.
 */
std::unique_ptr<Page> Rotated(std::unique_ptr<Page> page, LONG rotation);

}  // namespace vorn::wia
