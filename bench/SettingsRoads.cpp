/*
 * What a device can do, and setting it up: the library against the platform calls that it makes.
 */
#include <memory>
#include <stdexcept>
#include <vector>

#include "Desk.h"
#include "Roads.h"
#include "Seconds.h"

namespace vorn::bench {
namespace {

using wia::Generation;

constexpr double kAim = 1.3;
constexpr int kTimes = 300;

using StoragePtr = ComPtr<IWiaPropertyStorage>;

StoragePtr StorageOf(WiaItemHandle item)
{
    StoragePtr storage;
    reinterpret_cast<IUnknown*>(item)->QueryInterface(IID_IWiaPropertyStorage, storage.OutVoid());
    return storage;
}

PROPSPEC Specify(PROPID id)
{
    PROPSPEC propSpec{};
    propSpec.ulKind = PRSPEC_PROPID;
    propSpec.propid = id;
    return propSpec;
}

void Read(WiaItemHandle item, PROPID id)
{
    PropVariant value;
    const PROPSPEC propSpec = Specify(id);
    StorageOf(item)->ReadMultiple(1, &propSpec, &value);
}

ULONG AccessOf(const StoragePtr& storage, PROPID id)
{
    PROPSPEC propSpec = Specify(id);
    ULONG access = 0;
    PropVariant valid;
    storage->GetPropertyAttributes(1, &propSpec, &access, &valid);
    return access;
}

/** An application that looks at every property of the scanner's item, and its root. */
struct Scanner {
    explicit Scanner(Generation generation) : desk{generation}
    {
        Vorn_WiaGetRootItem(desk.Session(), nullptr, &root);
    }

    Desk desk;
    WiaItemHandle root = nullptr;
};

/** The device's type, and of each property the name, the type and the valid values. */
size_t BareCapabilities(const Scanner& scanner)
{
    Read(scanner.root, WIA_DIP_DEV_TYPE);
    const StoragePtr storage = StorageOf(scanner.desk.Item());
    ULONG count = 0;
    storage->GetCount(&count);
    ComPtr<IEnumSTATPROPSTG> properties;
    storage->Enum(properties.Out());
    size_t delivered = 0;
    for (ULONG i = 0; i < count; ++i) {
        STATPROPSTG property{};
        ULONG fetched = 0;
        if (properties->Next(1, &property, &fetched) != S_OK)
            continue;
        AccessOf(storage, property.propid);
        CoTaskMemFree(property.lpwstrName);
        ++delivered;
    }
    return delivered;
}

size_t Capabilities(const Scanner& scanner)
{
    size_t delivered = 0;
    const auto count = [](WiaSession*, uint32_t, const WiaCapability* capability, void* data) {
        *static_cast<size_t*>(data) += capability != nullptr;
        return SUCCESS;
    };
    Vorn_WiaEnumCapabilities(scanner.desk.Session(), scanner.desk.Item(), 0, count, &delivered);
    return delivered;
}

/** A full record, as the device holds it. */
struct Record {
    explicit Record(const Scanner& scanner)
    {
        properties.structSize = sizeof(WiaScanProperties);
        geometry.structSize = sizeof(WiaImageGeometry);
        dataFormat.structSize = sizeof(WiaDataFormat);
        adjust.structSize = sizeof(WiaImageAdjust);
        properties.geometry = &geometry;
        properties.dataFormat = &dataFormat;
        properties.adjust = &adjust;
        dataFormat.formatGuid = &format;
        if (Vorn_WiaGetProperties(scanner.desk.Session(), scanner.desk.Item(), &properties) != SUCCESS)
            throw std::runtime_error{"the record cannot be read"};
    }

    GUID format{};
    WiaImageGeometry geometry{};
    WiaDataFormat dataFormat{};
    WiaImageAdjust adjust{};
    WiaScanProperties properties{};
};

/** The calls that writing a record makes: each property with the value that is written. */
class BareWrites {
public:
    BareWrites(const Scanner& scanner, Generation generation)
        : scanner_{scanner}, first_{generation == Generation::One}
    {
        for (const int id : {WIA_IPS_CUR_INTENT,
                             WIA_IPA_DATATYPE,
                             WIA_IPA_DEPTH,
                             WIA_DPS_DOCUMENT_HANDLING_SELECT,
                             WIA_IPA_TYMED,
                             WIA_IPA_FORMAT,
                             WIA_IPA_COMPRESSION,
                             WIA_DPS_PAGES,
                             WIA_IPS_ORIENTATION,
                             WIA_IPS_XRES,
                             WIA_IPS_YRES,
                             WIA_IPS_XPOS,
                             WIA_IPS_YPOS,
                             WIA_IPS_XEXTENT,
                             WIA_IPS_YEXTENT,
                             3109,
                             3110,
                             WIA_IPS_ROTATION,
                             WIA_IPS_BRIGHTNESS,
                             WIA_IPS_CONTRAST}) {
            if (first_ && (id == 3109 || id == 3110))
                continue;
            Write& write = writes_.emplace_back(Write{static_cast<PROPID>(id), OfRoot(id), {}});
            const PROPSPEC propSpec = Specify(write.id);
            StorageOf(write.ofRoot ? scanner_.root : scanner_.desk.Item())
                ->ReadMultiple(1, &propSpec, &write.value);
        }
    }
    BareWrites(const BareWrites&) = delete;
    ~BareWrites()
    {
        for (Write& write : writes_)
            PropVariantClear(&write.value);
    }

    void Run() const
    {
        const StoragePtr item = StorageOf(scanner_.desk.Item()), root = StorageOf(scanner_.root);
        for (const Write& write : writes_) {
            const StoragePtr& storage = write.ofRoot ? root : item;
            if (!(AccessOf(storage, write.id) & WIA_PROP_WRITE))
                continue;
            if (first_ && write.id == WIA_DPS_PAGES) {
                Read(scanner_.root, WIA_DIP_DEV_TYPE);
                Read(scanner_.root, WIA_DPS_DOCUMENT_HANDLING_SELECT);
            }
            const PROPSPEC propSpec = Specify(write.id);
            storage->WriteMultiple(1, &propSpec, &write.value, WIA_IPA_FIRST);
        }
    }

private:
    struct Write {
        PROPID id;
        bool ofRoot;
        PROPVARIANT value;
    };

    bool OfRoot(PROPID id) const
    {
        return first_ && (id == WIA_DPS_DOCUMENT_HANDLING_SELECT || id == WIA_DPS_PAGES);
    }

    const Scanner& scanner_;
    bool first_;
    std::vector<Write> writes_;
};

Timed Repeat(std::function<void()> work)
{
    return [work = std::move(work)] {
        return Seconds([&] {
            for (int i = 0; i < kTimes; ++i)
                work();
        });
    };
}

Road SettingsRoad(const char* name, Generation generation, const char* unavoidable)
{
    Road road;
    road.name = std::string{name} + (generation == Generation::One ? " 1.0" : " 2.0");
    road.unavoidable = unavoidable;
    road.aim = kAim;
    road.timesPerRun = kTimes;
    return road;
}

Road CapabilitiesRoad(Generation generation)
{
    const auto scanner = std::make_shared<Scanner>(generation);
    if (Capabilities(*scanner) != BareCapabilities(*scanner))
        throw std::runtime_error{"Vorn_WiaEnumCapabilities leaves properties out"};
    Road road = SettingsRoad("capabilities", generation, "Next, GetPropertyAttributes");
    road.run = Repeat([scanner] { Capabilities(*scanner); });
    road.baseline = Repeat([scanner] { BareCapabilities(*scanner); });
    return road;
}

Road RecordRoad(Generation generation)
{
    const auto scanner = std::make_shared<Scanner>(generation);
    const auto record = std::make_shared<Record>(*scanner);
    const auto writes = std::make_shared<BareWrites>(*scanner, generation);
    Road road = SettingsRoad("record", generation, "...Attributes, WriteMultiple");
    road.run = Repeat([scanner, record] {
        Vorn_WiaSetProperties(scanner->desk.Session(), scanner->desk.Item(), &record->properties, nullptr,
                              nullptr);
    });
    road.baseline = Repeat([scanner, writes] { writes->Run(); });
    return road;
}

}  // namespace

std::vector<Road> SettingsRoads()
{
    return {CapabilitiesRoad(Generation::One), CapabilitiesRoad(Generation::Two), RecordRoad(Generation::One),
            RecordRoad(Generation::Two)};
}

}  // namespace vorn::bench
