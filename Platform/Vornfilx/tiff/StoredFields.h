/**
 * @file tiff/StoredFields.h
 * Fields of a TIFF directory, read without a codec: of a page, or of a picture of another format that carries one.
 */
#pragma once

#include "tiff/Chain.h"

namespace vorn::fil::tiff {

/** Those that tell how a picture is stored, with what they are when they are missing. */
struct StoredFields {
    uint32_t bits = 1;
    uint32_t samples = 1;
    uint32_t orientation = 1;
    uint32_t unit = 2;
    double xResolution = 0;
    double yResolution = 0;
};

/** Reads them of the directory that `chain` was walked to. */
int32_t ReadStoredFields(ByteSource& source, const Chain& chain, StoredFields& fields) noexcept;

/** Dots an inch. A number of dots a centimetre is rarely exact: close to a whole number of dots, that is meant. */
double DpiOf(double resolution, uint32_t unit) noexcept;

}  // namespace vorn::fil::tiff
