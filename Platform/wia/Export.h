/**
 * @file Export.h
 * Marks what tests and the host of the service use from outside the library that the service is built into.
 */
#pragma once

#ifdef _WIN32
#define VORN_WIA_API
#else
#define VORN_WIA_API __attribute__((visibility("default")))
#endif
