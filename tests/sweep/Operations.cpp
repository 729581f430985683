/*
 * Every exported operation as an application calls it.
 */
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "Scene.h"
#include "Vornfilx.h"
#include "Vornkrnx.h"
#include "com.h"

namespace vorn::test {
namespace {

using WideName = std::array<WCHAR, VORNWIA_NAME_CHARS>;

WideName Wide(const char* text)
{
    WideName wide{};
    for (size_t i = 0; text[i] && i + 1 < wide.size(); ++i)
        wide[i] = static_cast<unsigned char>(text[i]);
    return wide;
}

/** The first status that is no success; all calls have been made. */
int32_t First(std::initializer_list<int32_t> statuses)
{
    for (const int32_t status : statuses)
        if (status != SUCCESS)
            return status;
    return SUCCESS;
}

// ---- Devices and items ---------------------------------------------------------------------------------

int32_t InitAndEnd(Scene& scene)
{
    WiaSession* session = nullptr;
    const int32_t status = Vorn_WiaInitSession(scene.version, &session);
    return session ? Vorn_WiaEndSession(session) : status;
}

// A device that cannot be read ends the list, and a text that cannot be copied is null: both are success.
template <typename Info>
int32_t HearDevice(WiaSession*, const Info*, void*)
{
    return 1;
}

int32_t EnumDevices(Scene& scene)
{
    return First({Vorn_WiaEnumDevices(scene.session, HearDevice<WiaDeviceInfo>, nullptr),
                  Vorn_WiaEnumDevicesA(scene.session, HearDevice<WiaDeviceInfoA>, nullptr)});
}

int32_t GetSelectedDevice(Scene& scene)
{
    uint32_t type = 0;
    char* const id = Vorn_WiaGetSelectedDeviceA(scene.session);
    KrnFreeAnsiCopy(id);
    const int32_t status = Vorn_WiaGetSelectedDeviceType(scene.session, &type);
    return Vorn_WiaGetSelectedDevice(scene.session) && id ? status : ERR_OUT_OF_MEMORY;
}

int32_t GetRootItem(Scene& scene)
{
    WiaItemHandle lent = nullptr, owned = nullptr;
    const int32_t status = Vorn_WiaGetRootItem(scene.session, nullptr, &lent);
    if (status != SUCCESS)
        return status;
    reinterpret_cast<IUnknown*>(scene.item)->AddRef();  // it is consumed
    const int32_t another = Vorn_WiaGetRootItem(scene.session, scene.item, &owned);
    if (owned)
        Vorn_WiaFreeItem(scene.session, owned);
    return another;
}

int32_t EnumChildItems(Scene& scene)
{
    const auto each = [](WiaSession* session, uint32_t count, WiaItemHandle item, void* user) -> int32_t {
        static_cast<Digest*>(user)->Add(" child of %u", count);
        Vorn_WiaFreeItem(session, item);
        return 1;
    };
    const int32_t counted = Vorn_WiaEnumChildItems(scene.session, scene.root, nullptr, nullptr);
    return counted == SUCCESS ? Vorn_WiaEnumChildItems(scene.session, scene.root, each, &scene.digest)
                              : counted;
}

// ---- Properties, in both forms -------------------------------------------------------------------------

int32_t PropertyLong(Scene& scene)
{
    const auto& [session, item] = scene.Target();
    constexpr const char* kName = "Horizontal Resolution";
    int32_t value = 0;
    return First({Vorn_WiaSetPropertyLong(session, item, nullptr, WIA_IPS_XRES, 100),
                  Vorn_WiaGetPropertyLong(session, item, nullptr, WIA_IPS_XRES, &value),
                  Vorn_WiaSetPropertyLongA(session, item, kName, 0, 150),
                  Vorn_WiaGetPropertyLongA(session, item, kName, 0, &value)});
}

int32_t PropertyGuid(Scene& scene)
{
    const auto& [session, item] = scene.Target();
    GUID value = WiaImgFmt_BMP;
    return First({Vorn_WiaSetPropertyGUID(session, item, nullptr, WIA_IPA_FORMAT, &value),
                  Vorn_WiaGetPropertyGUID(session, item, nullptr, WIA_IPA_FORMAT, &value),
                  Vorn_WiaSetPropertyGUIDA(session, item, "Format", 0, &value),
                  Vorn_WiaGetPropertyGUIDA(session, item, "Format", 0, &value)});
}

int32_t PropertyString(Scene& scene)
{
    std::array<WCHAR, 64> wide{};
    std::array<char, 64> text{};
    uint64_t size = 64;
    WiaSession* const session = scene.session;
    return First(
        {Vorn_WiaGetPropertyString(session, scene.root, nullptr, WIA_DIP_DEV_NAME, wide.data(), &size),
         Vorn_WiaGetPropertyStringA(session, scene.root, "Name", 0, text.data(), &size),
         Vorn_WiaSetPropertyString(session, scene.root, u"Virtual Paper", 0, u"Blank"),
         Vorn_WiaSetPropertyStringA(session, scene.root, "Virtual Pages Folder", 0, scene.pages)});
}

int32_t PropertySystemTime(Scene& scene)
{
    const auto& [session, item] = scene.Target();
    constexpr const char* kName = "Item Time Stamp";
    SYSTEMTIME time{};
    return First({Vorn_WiaGetPropertySystemTime(session, item, nullptr, WIA_IPA_ITEM_TIME, &time),
                  Vorn_WiaGetPropertySystemTimeA(session, item, kName, 0, &time),
                  Vorn_WiaSetPropertySystemTime(session, item, nullptr, WIA_IPA_ITEM_TIME, &time),
                  Vorn_WiaSetPropertySystemTimeA(session, item, kName, 0, &time)});
}

int32_t PropertyBuffer(Scene& scene)
{
    const auto& [session, item] = scene.Target();
    constexpr const char* kName = "Thumbnail Data";
    static std::array<uint8_t, 65536> bytes;
    uint64_t size = bytes.size();
    return First({Vorn_WiaGetPropertyBuffer(session, item, nullptr, WIA_IPC_THUMBNAIL, bytes.data(), &size),
                  Vorn_WiaGetPropertyBufferA(session, item, kName, 0, bytes.data(), &size),
                  Vorn_WiaSetPropertyBuffer(session, item, nullptr, WIA_IPC_THUMBNAIL, bytes.data(), 16),
                  Vorn_WiaSetPropertyBufferA(session, item, kName, 0, bytes.data(), 16)});
}

template <typename Capability>
int32_t HearCapability(WiaSession*, uint32_t, const Capability*, void*)
{
    return SUCCESS;
}

int32_t Enumerations(Scene& scene)
{
    const auto& [session, item] = scene.Target();
    const auto format = [](WiaSession*, uint32_t, uint32_t, const GUID*, void*) -> int32_t {
        return SUCCESS;
    };
    return First({Vorn_WiaEnumCapabilities(session, item, 0, HearCapability<WiaCapability>, nullptr),
                  Vorn_WiaEnumCapabilitiesA(session, scene.root, 0, HearCapability<WiaCapabilityA>, nullptr),
                  Vorn_WiaEnumFormats(session, item, 0, format, nullptr)});
}

int32_t Properties(Scene& scene)
{
    GUID format{};
    WiaImageGeometry geometry{};
    WiaDataFormat data{};
    WiaImageAdjust adjust{};
    WiaScanProperties record{sizeof record, 0, 0, 0, 0, &geometry, &data, &adjust};
    geometry.structSize = sizeof geometry;
    data.structSize = sizeof data;
    data.formatGuid = &format;
    adjust.structSize = sizeof adjust;
    int32_t status = Vorn_WiaGetProperties(scene.session, scene.item, &record);
    if (status != SUCCESS)
        return status;
    geometry.xResolution = geometry.yResolution = 100;
    data.dataType = WIA_DATA_GRAYSCALE;
    data.tymed = TYMED_FILE;
    record.intent = WIA_INTENT_IMAGE_TYPE_GRAYSCALE;
    const auto each = [](WiaSession*, uint32_t, int32_t, uint32_t, void*, void*) -> int32_t {
        return PROPERTY_WRITE_GO_ON;
    };
    return Vorn_WiaSetProperties(scene.session, scene.item, &record, each, nullptr);
}

// ---- Acquisition ---------------------------------------------------------------------------------------

/** The options of either form, its file named. */
template <typename Options>
Options OptionsOf(const Scene& scene)
{
    Options options{};
    options.structSize = sizeof options;
    if (!scene.output->extension)
        return options;
    char name[VORNWIA_NAME_CHARS];
    std::snprintf(name, sizeof name, "%s/page.%s", scene.folder, scene.output->extension);
    for (size_t i = 0; name[i]; ++i)
        options.fileName[i] = static_cast<unsigned char>(name[i]);
    options.multiPageFile = scene.output->multiPage;
    options.appendToFile = scene.output->append;
    return options;
}

/** What an application hears, in either form of either callback. */
struct Pages {
    uint32_t begun = 0, bitmaps = 0;

    template <typename Char>
    static int32_t Hear(WiaSession*, BitmapHandle* bitmap, const Char* file, int32_t, int32_t state,
                        void* user)
    {
        auto& pages = *static_cast<Pages*>(user);
        pages.begun += state == TRANSFER_STATE_BEGIN && !(file && *file);
        pages.bitmaps += bitmap && bitmap->image;
        return 1;
    }
    template <typename Char>
    static int32_t Hear(WiaSession*, const Char*, int32_t, int32_t, void*)
    {
        return 1;
    }
};

/** Calls an acquisition with what follows its flags, and notes pages and files. */
template <typename Options, typename Char, typename Callback, typename Function, typename... First>
int32_t Take(Scene& scene, Function function, First... first)
{
    const auto options = OptionsOf<Options>(scene);
    uint32_t count = 77;
    Char** list = reinterpret_cast<Char**>(-1);
    Pages pages;
    const Callback callback = Pages::Hear;
    const int32_t status = function(first..., &options, &count, &list, callback, &pages);
    if (count == 77 || list == reinterpret_cast<Char**>(-1)) {
        scene.digest.Add(" OUTPUT UNDEFINED");
        return status;
    }
    scene.digest.Add(" %u bitmaps, %u files", pages.bitmaps, count);
    scene.pageMissing = pages.begun > pages.bitmaps;
    for (uint32_t i = 0; list && i < count; ++i)
        KrnFree(list[i], __LINE__, __FILE__);
    if (list)
        KrnFree(list, __LINE__, __FILE__);
    return status;
}

template <typename Options, typename Char, typename Callback>
int32_t Acquire(Scene& scene, int32_t (*function)(WiaSession*, HWND, uint32_t, WiaItemHandle, const Options*,
                                                  uint32_t*, Char***, Callback, void*))
{
    return Take<Options, Char, Callback>(scene, function, scene.session, HWND{}, 0u, scene.item);
}

// Without a session the first device of its type is taken as it opens.
template <typename Options, typename Char, typename Callback>
int32_t Acquire(Scene& scene, int32_t (*function)(uint32_t, HWND, int32_t, uint32_t, WiaItemHandle,
                                                  const Options*, uint32_t*, Char***, Callback, void*))
{
    return Take<Options, Char, Callback>(scene, function, scene.version, HWND{}, scene.device.type, 0u,
                                         WiaItemHandle{});
}

// ---- Files ---------------------------------------------------------------------------------------------

struct NameOnly {
    uint32_t structSize, multiPageFile, appendToFile;
    WideName fileName;
};

/** What an application does with a page from memory, and how it looks at a file. */
int32_t SaveAndLoad(Scene& scene)
{
    const WideName name = OptionsOf<NameOnly>(scene).fileName;
    BitmapHandle bitmap{}, loaded{};
    const uint32_t bits = scene.output->dataType == WIA_DATA_THRESHOLD ? 1 : 24;
    int32_t status = KrnCreateBitmap(&bitmap, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, 100, 100, bits,
                                     KRN_COLOR_ORDER_BGR, nullptr, KRN_VIEW_TOP_LEFT, nullptr, 0);
    if (status != KRN_SUCCESS)
        return status;
    status = FilSave(name.data(), &bitmap, scene.output->fileFormat, 0,
                     scene.output->append ? FIL_SAVE_ADD_PAGE : FIL_SAVE_NEW, FIL_COMPRESSION_DEFAULT,
                     nullptr, nullptr, nullptr);
    KrnFreeBitmap(&bitmap);
    if (status != FIL_SUCCESS || scene.output->fileFormat == FIL_FORMAT_PDF)
        return status;
    status = FilLoad(name.data(), &loaded, KRN_BITMAP_SIZE, 0, KRN_COLOR_ORDER_BGR, nullptr, nullptr);
    KrnFreeBitmap(&loaded);
    return status;
}

// ---- Video ---------------------------------------------------------------------------------------------

int32_t StartVideoPreview(Scene& scene)
{
    const int32_t status = Vorn_WiaStartVideoPreview(scene.session, nullptr, 1);
    if (status == SUCCESS)
        Vorn_WiaEndVideoPreview(scene.session);
    return status;
}

int32_t UseVideoPreview(Scene& scene)
{
    std::array<WCHAR, VORNWIA_NAME_CHARS> wide{};
    std::array<char, VORNWIA_NAME_CHARS> name{};
    uint64_t size = name.size();
    if (!Vorn_WiaIsVideoPreviewAvailable(scene.session))
        return RESULT_FALSE;
    return First({Vorn_WiaResizeVideoPreview(scene.session, 1),
                  Vorn_WiaAcquireImageFromVideo(scene.session, wide.data(), &size),
                  Vorn_WiaAcquireImageFromVideoA(scene.session, name.data(), &size)});
}

}  // namespace

const Operation kOperations[] = {
    {"IsAvailable", Needs::Nothing, [](Scene& scene) { return Vorn_WiaIsAvailable(scene.version); }},
    {"InitSession", Needs::Nothing, InitAndEnd},
    {"EnumDevices", Needs::Session, EnumDevices},
    {"SelectDevice", Needs::Session,
     [](Scene& scene) { return Vorn_WiaSelectDevice(scene.session, scene.device.id); }},
    {"SelectDeviceDlg", Needs::Session,
     [](Scene& scene) { return Vorn_WiaSelectDeviceDlg(scene.session, nullptr, scene.device.type, 0); }},
    {"GetSelectedDevice", Needs::Device, GetSelectedDevice},
    {"GetRootItem", Needs::Item, GetRootItem},
    {"EnumChildItems", Needs::Device, EnumChildItems},
    {"EndSession", Needs::Item, [](Scene& scene) { return Vorn_WiaEndSession(scene.session); }, nullptr,
     true},
    {"PropertyLong", Needs::Item, PropertyLong},
    {"PropertyGUID", Needs::Item, PropertyGuid},
    {"PropertyString", Needs::Item, PropertyString},
    {"PropertySystemTime", Needs::Item, PropertySystemTime},
    {"PropertyBuffer", Needs::Item, PropertyBuffer},
    {"Enumerations", Needs::Item, Enumerations},
    {"Properties", Needs::Item, Properties},
    {"Acquire", Needs::Item, [](Scene& scene) { return Acquire(scene, Vorn_WiaAcquire); }, kOutputs},
    {"AcquireA", Needs::Item, [](Scene& scene) { return Acquire(scene, Vorn_WiaAcquireA); }, kOutputs},
    {"AcquireToFile", Needs::Item, [](Scene& scene) { return Acquire(scene, Vorn_WiaAcquireToFile); },
     kOutputs},
    {"AcquireToFileA", Needs::Item, [](Scene& scene) { return Acquire(scene, Vorn_WiaAcquireToFileA); },
     kOutputs},
    {"AcquireSimple", Needs::Nothing, [](Scene& scene) { return Acquire(scene, Vorn_WiaAcquireSimple); },
     kOutputs},
    {"AcquireSimpleA", Needs::Nothing, [](Scene& scene) { return Acquire(scene, Vorn_WiaAcquireSimpleA); },
     kOutputs},
    {"SaveAndLoad", Needs::Nothing, SaveAndLoad, kSaved},
    {"StartVideoPreview", Needs::Device, StartVideoPreview},
    {"UseVideoPreview", Needs::Video, UseVideoPreview},
    {"EndVideoPreview", Needs::Video, [](Scene& scene) { return Vorn_WiaEndVideoPreview(scene.session); }},
    {},
};

const Output kOutputs[] = {
    {"memory", nullptr, nullptr, TYMED_CALLBACK, WIA_DATA_COLOR},
    {"pages", "bmp", &WiaImgFmt_BMP, TYMED_FILE, WIA_DATA_COLOR},
    {"tiff", "tif", &WiaImgFmt_TIFF, TYMED_FILE, WIA_DATA_THRESHOLD, 1},
    {"append tiff", "tif", &WiaImgFmt_TIFF, TYMED_FILE, WIA_DATA_COLOR, 0, 1},
    {"jpeg", "jpg", &WiaImgFmt_JPEG, TYMED_FILE, WIA_DATA_COLOR},
    {"png", "png", &WiaImgFmt_PNG, TYMED_FILE, WIA_DATA_GRAYSCALE},
    {"folder of pages", nullptr, nullptr, TYMED_CALLBACK, WIA_DATA_COLOR, 0, 0, true},
    {},
};

const Output kSaved[] = {
    {"bmp", "bmp", nullptr, 0, WIA_DATA_COLOR, 0, 0, false, FIL_FORMAT_BMP},
    {"tiff", "tif", nullptr, 0, WIA_DATA_COLOR, 0, 0, false, FIL_FORMAT_TIFF},
    {"append tiff", "tif", nullptr, 0, WIA_DATA_COLOR, 0, 1, false, FIL_FORMAT_TIFF},
    {"jpeg", "jpg", nullptr, 0, WIA_DATA_COLOR, 0, 0, false, FIL_FORMAT_JPEG},
    {"png", "png", nullptr, 0, WIA_DATA_COLOR, 0, 0, false, FIL_FORMAT_PNG},
    {"pdf", "pdf", nullptr, 0, WIA_DATA_COLOR, 0, 0, false, FIL_FORMAT_PDF},
    {"fax pdf", "pdf", nullptr, 0, WIA_DATA_THRESHOLD, 0, 0, false, FIL_FORMAT_PDF},
    {"append pdf", "pdf", nullptr, 0, WIA_DATA_THRESHOLD, 0, 1, false, FIL_FORMAT_PDF},
    {},
};

// ---- The scene -----------------------------------------------------------------------------------------

void Digest::Add(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const int written = std::vsnprintf(text_.data() + length_, text_.size() - length_, format, arguments);
    va_end(arguments);
    if (written > 0)
        length_ = std::min(text_.size() - 1, length_ + static_cast<size_t>(written));
}

void Scene::OpenSession()
{
    Vorn_WiaInitSession(version, &session);
}

void Scene::SelectDevice()
{
    Vorn_WiaSelectDevice(session, device.id);
    Vorn_WiaGetRootItem(session, nullptr, &root);
}

void Scene::TakeItem()
{
    // Generation 2 has an item for each source, and the feeder is the second.
    const auto take = [](WiaSession* of, uint32_t, WiaItemHandle child, void* user) -> int32_t {
        auto& scene = *static_cast<Scene*>(user);
        if (scene.item)
            Vorn_WiaFreeItem(of, scene.item);
        scene.item = child;
        return scene.device.feeder && scene.version == 2;
    };
    Vorn_WiaEnumChildItems(session, root, take, this);
    if (!item) {  // a device for video has its root only
        item = root;
        reinterpret_cast<IUnknown*>(item)->AddRef();
    }
    const auto set = [&](WiaItemHandle of, uint32_t id, int32_t value) {
        Vorn_WiaSetPropertyLong(session, of, nullptr, id, value);
    };
    if (device.feeder && version == 1)
        set(root, WIA_DPS_DOCUMENT_HANDLING_SELECT, FEEDER);
    for (const auto& [resolution, extent] :
         {std::pair{WIA_IPS_XRES, WIA_IPS_XEXTENT}, {WIA_IPS_YRES, WIA_IPS_YEXTENT}}) {
        set(item, resolution, 75);
        set(item, extent, 64);
    }
    if (output)
        set(item, WIA_IPA_DATATYPE, output->dataType);
}

void Scene::SetUp()
{
    if (item && output) {
        Vorn_WiaSetPropertyLong(session, item, nullptr, WIA_IPA_TYMED, output->medium);
        if (output->format)
            Vorn_WiaSetPropertyGUID(session, item, nullptr, WIA_IPA_FORMAT, output->format);
    }
    if (device.feeder) {
        Vorn_WiaSetPropertyLong(session, root, VORN_TEXT("Virtual Sheets"), 0, 10);
        Vorn_WiaSetPropertyLong(session, root, nullptr, WIA_DPS_PAGES, 2);
    }
    if (output && output->folder)
        Vorn_WiaSetPropertyString(session, root, VORN_TEXT("Virtual Pages Folder"), 0, Wide(pages).data());
}

void Scene::Close()
{
    if (item)
        Vorn_WiaFreeItem(session, item);
    if (session)
        Vorn_WiaEndSession(session);
    session = nullptr;
    root = item = nullptr;
}

}  // namespace vorn::test
