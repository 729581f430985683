/*
 * The layouts that callers rely on, seen from C11. Nothing runs: a wrong offset does not compile.
 */
#include <stddef.h>

#include "Vornfilx.h"

#define CHECK_OFFSET(record, field, offset) \
    _Static_assert(offsetof(record, field) == (offset), #record "::" #field " moved")

_Static_assert(sizeof(FilFileInfo) == FIL_INFO_SIZE, "the record's size is part of the interface");
CHECK_OFFSET(FilFileInfo, format, 4);
CHECK_OFFSET(FilFileInfo, fileName, 8);
CHECK_OFFSET(FilFileInfo, bitsPerPixel, 1040);
CHECK_OFFSET(FilFileInfo, width, 1044);
CHECK_OFFSET(FilFileInfo, height, 1048);
CHECK_OFFSET(FilFileInfo, xDpi, 1052);
CHECK_OFFSET(FilFileInfo, yDpi, 1060);
CHECK_OFFSET(FilFileInfo, fileBytes, 1068);
CHECK_OFFSET(FilFileInfo, colorOrder, 1104);
CHECK_OFFSET(FilFileInfo, pageCount, 1112);

_Static_assert(sizeof(FilLoadOptions) == FIL_LOAD_OPTIONS_SIZE, "the record's size is part of the interface");
CHECK_OFFSET(FilLoadOptions, page, 20);
