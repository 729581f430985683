#include "DeviceBuilder.h"

#include <algorithm>

#include "DeviceProperties.h"

namespace vorn::wia {

namespace {

DeviceDefinition BareDevice(LONG type)
{
    DeviceDefinition definition;
    definition.properties = DeviceProperties(VORN_TEXT("test:device"), VORN_TEXT("Test Device"),
                                             VORN_TEXT("A device made for a test"), type);
    constexpr LONG kRootType = WiaItemTypeRoot | WiaItemTypeFolder | WiaItemTypeDevice;
    definition.tree1 = [] { return BareItem(VORN_TEXT("Root"), kRootType); };
    definition.tree2 = [] { return BareItem(VORN_TEXT("Root"), kRootType, WIA_CATEGORY_ROOT); };
    return definition;
}

/** The tree that `make` gives, with each change made to it. */
std::function<ItemDefinition()> Edited(std::function<ItemDefinition()> make, std::vector<TreeEdit> edits)
{
    if (!make || edits.empty())
        return make;
    return [make = std::move(make), edits = std::move(edits)] {
        ItemDefinition root = make();
        for (const TreeEdit& edit : edits)
            edit(root);
        return root;
    };
}

void EditNamed(ItemDefinition& item, const WString& name, const TreeEdit& edit)
{
    if (item.name == name)
        edit(item);
    for (ItemDefinition& child : item.children)
        EditNamed(child, name, edit);
}

}  // namespace

DeviceBuilder::DeviceBuilder(LONG type) : DeviceBuilder{BareDevice(type)} {}

DeviceBuilder::DeviceBuilder(DeviceDefinition definition)
    : definition_{std::move(definition)}, faults_{definition_.faults}
{
}

DeviceBuilder& DeviceBuilder::Id(WStringView id)
{
    return DeviceProperty(ReadOnly(WIA_DIP_DEV_ID, Value::Text(id)));
}

DeviceBuilder& DeviceBuilder::Name(WStringView name)
{
    return DeviceProperty(ReadOnly(WIA_DIP_DEV_NAME, Value::Text(name)));
}

DeviceBuilder& DeviceBuilder::Description(WStringView description)
{
    return DeviceProperty(ReadOnly(WIA_DIP_DEV_DESC, Value::Text(description)));
}

DeviceBuilder& DeviceBuilder::TypeValue(LONG value)
{
    return DeviceProperty(ReadOnly(WIA_DIP_DEV_TYPE, Value::I4(value)));
}

DeviceBuilder& DeviceBuilder::DeviceProperty(Property property)
{
    for (Property& old : definition_.properties) {
        if (old.id == property.id) {
            old = std::move(property);
            return *this;
        }
    }
    definition_.properties.push_back(std::move(property));
    return *this;
}

DeviceBuilder& DeviceBuilder::WithoutProperty(PROPID id)
{
    std::erase_if(definition_.properties, [id](const Property& property) { return property.id == id; });
    return *this;
}

DeviceBuilder& DeviceBuilder::Remote()
{
    definition_.local = false;
    return *this;
}

DeviceBuilder& DeviceBuilder::RootProperty(Property property)
{
    return Edit([property = std::move(property)](ItemDefinition& root) { root.Set(property); });
}

DeviceBuilder& DeviceBuilder::RootProperty(Generation generation, Property property)
{
    return Edit(generation, [property = std::move(property)](ItemDefinition& root) { root.Set(property); });
}

DeviceBuilder& DeviceBuilder::Child(ItemDefinition item)
{
    return Edit([item = std::move(item)](ItemDefinition& root) { root.children.push_back(item); });
}

DeviceBuilder& DeviceBuilder::Child(Generation generation, ItemDefinition item)
{
    return Edit(generation,
                [item = std::move(item)](ItemDefinition& root) { root.children.push_back(item); });
}

DeviceBuilder& DeviceBuilder::Edit(TreeEdit edit)
{
    edits1_.push_back(edit);
    edits2_.push_back(std::move(edit));
    return *this;
}

DeviceBuilder& DeviceBuilder::Edit(Generation generation, TreeEdit edit)
{
    (generation == Generation::One ? edits1_ : edits2_).push_back(std::move(edit));
    return *this;
}

DeviceBuilder& DeviceBuilder::EditItem(WStringView name, TreeEdit edit)
{
    return Edit([name = WString{name}, edit = std::move(edit)](ItemDefinition& root) {
        EditNamed(root, name, edit);
    });
}

DeviceBuilder& DeviceBuilder::Without(Generation generation)
{
    (generation == Generation::One ? definition_.tree1 : definition_.tree2) = nullptr;
    return *this;
}

DeviceBuilder& DeviceBuilder::FailAt(Step step, HRESULT result, unsigned nth, unsigned count)
{
    faults_->Add(step, {result, false}, nth, count);
    return *this;
}

DeviceBuilder& DeviceBuilder::FailProperty(PROPID id, Step step, HRESULT result, unsigned nth, unsigned count)
{
    faults_->AddFor(id, step, {result, false}, nth, count);
    return *this;
}

DeviceBuilder& DeviceBuilder::NullAt(Step step, unsigned nth, unsigned count)
{
    faults_->Add(step, {S_OK, true}, nth, count);
    return *this;
}

DevicePtr DeviceBuilder::Build() const
{
    DeviceDefinition definition = definition_;
    definition.tree1 = Edited(std::move(definition.tree1), edits1_);
    definition.tree2 = Edited(std::move(definition.tree2), edits2_);
    return std::make_shared<const Device>(std::move(definition));
}

ItemDefinition BareItem(WStringView name, LONG type, REFGUID category)
{
    ItemDefinition item;
    item.name = name;
    item.type = type;
    item.category = category;
    return item;
}

ScopedDevices::ScopedDevices(std::vector<DevicePtr> devices)
    : before_{Service::Instance().SetDevices(std::move(devices))}
{
}

ScopedDevices::~ScopedDevices()
{
    Service::Instance().SetDevices(std::move(before_));
}

ScopedMissingManager::ScopedMissingManager(Generation generation) : generation_{generation}
{
    Service::Instance().HideManager(generation_);
}

ScopedMissingManager::~ScopedMissingManager()
{
    Service::Instance().ShowManager(generation_);
}

}  // namespace vorn::wia
