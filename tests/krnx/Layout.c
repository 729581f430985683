/*
 * The layouts that callers rely on, seen from C11. Nothing runs: a wrong offset does not compile.
 */
#include <stddef.h>

#include "Vornkrnx.h"

#define CHECK_OFFSET(field, offset) \
    _Static_assert(offsetof(BitmapHandle, field) == (offset), "BitmapHandle::" #field " moved")

_Static_assert(sizeof(BitmapHandle) == KRN_BITMAP_SIZE, "the record's size is part of the interface");
CHECK_OFFSET(structSize, 0);
CHECK_OFFSET(memoryKind, 4);
CHECK_OFFSET(colorOrder, 8);
CHECK_OFFSET(image, 12);
CHECK_OFFSET(width, 20);
CHECK_OFFSET(height, 24);
CHECK_OFFSET(bitsPerPixel, 28);
CHECK_OFFSET(rowBytes, 32);
CHECK_OFFSET(viewPerspective, 36);
CHECK_OFFSET(accessCount, 40);
CHECK_OFFSET(paletteCount, 44);
CHECK_OFFSET(flags, 48);
CHECK_OFFSET(palette, 52);
CHECK_OFFSET(imageBytes, 60);
CHECK_OFFSET(xDpi, 68);
CHECK_OFFSET(yDpi, 76);
CHECK_OFFSET(reserved, 84);
