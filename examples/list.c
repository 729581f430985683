/*
 * Lists the devices, their items, and what may be written to each property of an item.
 */
#include <stdio.h>

#include "Vornkrnx.h"
#include "vornwia.h"

#define FULL_ITEM_NAME 4099

static void Print(const char* before, const WCHAR* text, const char* after)
{
    char* copy = KrnAllocAnsiCopy(text);
    printf("%s%s%s", before, copy ? copy : "", after);
    KrnFreeAnsiCopy(copy);
}

static void PrintListed(uint32_t type, const void* item)
{
    if (type == WIA_VALUE_TEXT)
        Print(" ", item, "");
    else if (type == WIA_VALUE_GUID)
        printf(" {%08X...}", (unsigned)((const GUID*)item)->Data1);
    else
        printf(" %d", *(const int32_t*)item);
}

static void PrintValues(uint32_t type, const WiaCapabilityValues* values)
{
    if (values && values->rangeValues)
        printf(" %d to %d in steps of %d", values->rangeValues->minimum, values->rangeValues->maximum,
               values->rangeValues->step);
    else if (values && values->flagValues)
        printf(" bits 0x%X", (unsigned)values->flagValues->validFlags);
    else if (values && values->listValues)
        for (int32_t i = 0; i < values->listValues->count; ++i)
            PrintListed(type, values->listValues->items[i]);
}

/* An EnumCapabilitiesCallback. The record is null when the device does not deliver a property that it announced. */
static int32_t PrintCapability(WiaSession* session, uint32_t count, const WiaCapability* capability,
                               void* userData)
{
    (void)session, (void)count, (void)userData;
    if (!capability)
        return SUCCESS;
    printf("    %u ", (unsigned)capability->propertyId);
    Print("", capability->propertyName, capability->accessFlags & WIA_ACCESS_WRITE ? ":" : " (read-only)");
    PrintValues(capability->valueType, capability->values);
    printf("\n");
    return SUCCESS;
}

static void PrintItem(WiaSession* session, WiaItemHandle item)
{
    WCHAR name[260] = {0};
    uint64_t size = 260;
    Vorn_WiaGetPropertyString(session, item, NULL, FULL_ITEM_NAME, name, &size);
    Print("  ", name, "\n");
    Vorn_WiaEnumCapabilities(session, item, 0, PrintCapability, NULL);
}

/* An EnumChildItemsCallback: it owns the item that it is given. */
static int32_t PrintChild(WiaSession* session, uint32_t count, WiaItemHandle item, void* userData)
{
    (void)count, (void)userData;
    PrintItem(session, item);
    Vorn_WiaFreeItem(session, item);
    return SUCCESS;
}

/* An EnumDevicesCallback. */
static int32_t PrintDevice(WiaSession* session, const WiaDeviceInfo* device, void* userData)
{
    (void)userData;
    Print("", device->deviceName, "\n");
    WiaItemHandle root = NULL;
    if (Vorn_WiaSelectDevice(session, device->deviceId) == SUCCESS &&
        Vorn_WiaGetRootItem(session, NULL, &root) == SUCCESS) {
        PrintItem(session, root);
        Vorn_WiaEnumChildItems(session, root, PrintChild, NULL);
    }
    return SUCCESS;
}

int main(void)
{
    WiaSession* session = NULL;
    int32_t status = Vorn_WiaInitSession(Vorn_WiaIsAvailable(2) == SUCCESS ? 2 : 1, &session);
    if (status == SUCCESS) {
        status = Vorn_WiaEnumDevices(session, PrintDevice, NULL);
        Vorn_WiaEndSession(session);
    }
    if (status != SUCCESS)
        fprintf(stderr, "vornwia_list: there is no device to list (status %d)\n", status);
    return status == SUCCESS ? 0 : 1;
}
