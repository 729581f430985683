/*
 * A C program that takes the address of every exported operation from the shared library, prints the names,
 * and calls a few.
 */
#include <stdio.h>

#include "vornwia.h"

typedef void (*Operation)(void);

static const struct {
    const char* name;
    Operation operation;
} kOperations[] = {
#define EXPORT(name) {#name, (Operation)(name)},
#include "Exports.inc"
#undef EXPORT
};

int main(void)
{
    for (size_t i = 0; i < sizeof(kOperations) / sizeof(kOperations[0]); ++i) {
        if (!kOperations[i].operation)
            return 1;
        puts(kOperations[i].name);
    }

    WiaSession* session = NULL;
    if (Vorn_WiaInitSession(3, &session) != ERR_INVALID_WIA_VERSION || session)
        return 2;
    if (Vorn_WiaInitSession(1, &session) != SUCCESS || Vorn_WiaGetSelectedDevice(session))
        return 3;
    return Vorn_WiaEndSession(session) == SUCCESS ? 0 : 4;
}
