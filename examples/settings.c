/*
 * Sets a scanner up in one call: grey pages of the resolution named on the command line. When the scanner refuses
 * that resolution, the nearest one that it has takes its place.
 *
 *   vornwia_settings 137
 */
#include <stdio.h>
#include <stdlib.h>

#include "vornwia.h"

#define DATA_TYPE_GREY 2
#define X_RESOLUTION 6147
#define Y_RESOLUTION 6148

/* A search for the value nearest to the one that is wanted of a property. */
typedef struct Nearest {
    uint32_t id;
    int32_t wanted;
    int32_t found;
} Nearest;

static void Consider(Nearest* nearest, int32_t value)
{
    if (llabs((long long)value - nearest->wanted) < llabs((long long)nearest->found - nearest->wanted))
        nearest->found = value;
}

/* An EnumCapabilitiesCallback. */
static int32_t LookForNearest(WiaSession* session, uint32_t count, const WiaCapability* capability,
                              void* userData)
{
    (void)session, (void)count;
    Nearest* nearest = userData;
    if (!capability || capability->propertyId != nearest->id)
        return SUCCESS;
    const WiaCapabilityValues* values = capability->values;
    if (values && values->rangeValues) {
        Consider(nearest, values->rangeValues->minimum);
        Consider(nearest, values->rangeValues->maximum);
    } else if (values && values->listValues) {
        for (int32_t i = 0; i < values->listValues->count; ++i)
            Consider(nearest, *(const int32_t*)values->listValues->items[i]);
    }
    return ERR_ABORTED; /* the others are of no interest */
}

/* A PropertyWriteCallback. */
static int32_t Repair(WiaSession* session, uint32_t id, int32_t status, uint32_t valueType, void* value,
                      void* userData)
{
    if (status == SUCCESS)
        return PROPERTY_WRITE_GO_ON;
    printf("property %u was refused (status %d)\n", (unsigned)id, status);
    if (valueType != WIA_VALUE_LONG || (id != X_RESOLUTION && id != Y_RESOLUTION))
        return PROPERTY_WRITE_GO_ON;

    int32_t* resolution = value;
    Nearest nearest = {.id = id, .wanted = *resolution, .found = INT32_MAX};
    Vorn_WiaEnumCapabilities(session, userData, 0, LookForNearest, &nearest);
    if (nearest.found == INT32_MAX || nearest.found == *resolution)
        return PROPERTY_WRITE_GO_ON;
    *resolution = nearest.found;
    return PROPERTY_WRITE_AGAIN;
}

/* The area is told in pixels: the same paper is more of them at a higher resolution. */
static uint32_t Rescale(uint32_t pixels, uint32_t from, uint32_t to)
{
    return from ? (uint32_t)((uint64_t)pixels * to / from) : pixels;
}

static int32_t SetUp(WiaSession* session, WiaItemHandle item, uint32_t resolution)
{
    GUID format = {0};
    WiaImageGeometry geometry = {.structSize = sizeof geometry};
    WiaDataFormat dataFormat = {.structSize = sizeof dataFormat, .formatGuid = &format};
    WiaImageAdjust adjust = {.structSize = sizeof adjust};
    WiaScanProperties settings = {
        .structSize = sizeof settings, .geometry = &geometry, .dataFormat = &dataFormat, .adjust = &adjust};

    /* What is in force stays so, but for what is changed here. */
    int32_t status = Vorn_WiaGetProperties(session, item, &settings);
    if (status != SUCCESS)
        return status;
    dataFormat.dataType = DATA_TYPE_GREY;
    geometry.bitsPerPixel = 8;
    geometry.xPosition = Rescale(geometry.xPosition, geometry.xResolution, resolution);
    geometry.yPosition = Rescale(geometry.yPosition, geometry.yResolution, resolution);
    geometry.xExtent = Rescale(geometry.xExtent, geometry.xResolution, resolution);
    geometry.yExtent = Rescale(geometry.yExtent, geometry.yResolution, resolution);
    geometry.xResolution = geometry.yResolution = resolution;
    status = Vorn_WiaSetProperties(session, item, &settings, Repair, item);

    /* The record now tells what the scanner really holds. */
    printf("%u bits, %u x %u dpi, %u x %u pixels\n", (unsigned)geometry.bitsPerPixel,
           (unsigned)geometry.xResolution, (unsigned)geometry.yResolution, (unsigned)geometry.xExtent,
           (unsigned)geometry.yExtent);
    return status;
}

/* An EnumChildItemsCallback that takes the first item. */
static int32_t TakeFirst(WiaSession* session, uint32_t count, WiaItemHandle item, void* userData)
{
    (void)session, (void)count;
    *(WiaItemHandle*)userData = item;
    return ERR_ABORTED;
}

int main(int argc, char** argv)
{
    const long resolution = argc > 1 ? strtol(argv[1], NULL, 10) : 300;
    if (resolution < 1 || resolution > 10000) {
        fprintf(stderr, "vornwia_settings: \"%s\" is no resolution: give 1 to 10000 dots per inch\n",
                argv[1]);
        return 1;
    }

    WiaSession* session = NULL;
    WiaItemHandle root = NULL, item = NULL;
    int32_t status = Vorn_WiaInitSession(Vorn_WiaIsAvailable(2) == SUCCESS ? 2 : 1, &session);
    if (status == SUCCESS)
        status = Vorn_WiaSelectDeviceDlg(session, NULL, WIA_DEVICE_TYPE_SCANNER, 0);
    if (status == SUCCESS)
        status = Vorn_WiaGetRootItem(session, NULL, &root);
    if (status == SUCCESS)
        Vorn_WiaEnumChildItems(session, root, TakeFirst, &item);
    if (item) {
        status = SetUp(session, item, (uint32_t)resolution);
        Vorn_WiaFreeItem(session, item);
    }
    if (session)
        Vorn_WiaEndSession(session);
    if (!item || status != SUCCESS)
        fprintf(stderr, "vornwia_settings: no scanner was set up (status %d)\n", status);
    return item && status == SUCCESS ? 0 : 1;
}
