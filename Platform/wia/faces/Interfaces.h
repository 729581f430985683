/**
 * @file Interfaces.h
 * Tells ComObject about the image-acquisition interfaces.
 */
#pragma once

#include "com.h"
#include "comobject.h"
#include "platform.h"

namespace vorn {

// clang-format off
template <> struct InterfaceInfo<IWiaDevMgr> : InterfaceIs<IID_IWiaDevMgr> {};
template <> struct InterfaceInfo<IEnumWIA_DEV_INFO> : InterfaceIs<IID_IEnumWIA_DEV_INFO> {};
template <> struct InterfaceInfo<IWiaItem> : InterfaceIs<IID_IWiaItem> {};
template <> struct InterfaceInfo<IWiaItemExtras> : InterfaceIs<IID_IWiaItemExtras> {};
template <> struct InterfaceInfo<IEnumWiaItem> : InterfaceIs<IID_IEnumWiaItem> {};
template <> struct InterfaceInfo<IEnumWIA_DEV_CAPS> : InterfaceIs<IID_IEnumWIA_DEV_CAPS> {};
template <> struct InterfaceInfo<IEnumWIA_FORMAT_INFO> : InterfaceIs<IID_IEnumWIA_FORMAT_INFO> {};
template <> struct InterfaceInfo<IWiaDataCallback> : InterfaceIs<IID_IWiaDataCallback> {};
template <> struct InterfaceInfo<IWiaDevMgr2> : InterfaceIs<IID_IWiaDevMgr2> {};
template <> struct InterfaceInfo<IWiaItem2> : InterfaceIs<IID_IWiaItem2> {};
template <> struct InterfaceInfo<IEnumWiaItem2> : InterfaceIs<IID_IEnumWiaItem2> {};
template <> struct InterfaceInfo<IWiaTransferCallback> : InterfaceIs<IID_IWiaTransferCallback> {};
template <> struct InterfaceInfo<IWiaVideo> : InterfaceIs<IID_IWiaVideo> {};
// clang-format on

}  // namespace vorn
