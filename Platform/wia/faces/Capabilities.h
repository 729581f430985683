/**
 * @file Capabilities.h
 * The enumerators that items of both generations hand out: transfer formats, commands and events.
 */
#pragma once

#include "../model/Item.h"
#include "Interfaces.h"

namespace vorn::wia {

/** The pairs of format and medium of an item. */
HRESULT EnumerateFormats(const Item& item, IEnumWIA_FORMAT_INFO** enumerator);

/** Commands (`WIA_DEVICE_COMMANDS`) or events (`WIA_DEVICE_EVENTS`) of a device. */
HRESULT EnumerateCapabilities(LONG flags, IEnumWIA_DEV_CAPS** enumerator);

/** The registered event handlers: none. */
HRESULT EnumerateEventHandlers(IEnumWIA_DEV_CAPS** enumerator);

/** Carries a command out: `WIA_CMD_SYNCHRONIZE` has nothing to do here, others are unknown. */
HRESULT CarryOut(const GUID* command);

}  // namespace vorn::wia
