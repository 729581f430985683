#include "DialogProvider.h"

#include "../Service.h"
#include "../model/Item.h"

namespace vorn::wia {

namespace {

class DefaultDialogs final : public DialogProvider {
public:
    HRESULT SelectDevice(const DeviceQuestion& question, DevicePtr& chosen) override
    {
        chosen = question.devices.front();
        return S_OK;
    }

    HRESULT SelectItems(const ItemsQuestion& question, std::vector<Item*>& chosen) override
    {
        chosen = question.items;
        return KeepWanted(question.flags, chosen);
    }

    HRESULT SelectImages(const ImageQuestion& question, std::vector<Item*>& chosen,
                         std::vector<WString>&) override
    {
        chosen = question.items;
        // A scanner's items are ways to scan the same paper, a camera's are pictures.
        const bool scanner =
            !chosen.empty() && chosen.front()->Tree().Device().Type() == StiDeviceTypeScanner;
        return KeepWanted(question.flags | (scanner ? WIA_DEVICE_DIALOG_SINGLE_IMAGE : 0), chosen);
    }

private:
    static HRESULT KeepWanted(LONG flags, std::vector<Item*>& items)
    {
        if ((flags & WIA_DEVICE_DIALOG_SINGLE_IMAGE) && items.size() > 1)
            items.erase(items.begin() + 1, items.end());
        return items.empty() ? S_FALSE : S_OK;
    }
};

}  // namespace

std::shared_ptr<DialogProvider> MakeDefaultDialogs()
{
    return std::make_shared<DefaultDialogs>();
}

ScopedDialogs::ScopedDialogs(std::shared_ptr<DialogProvider> provider)
    : before_{Service::Instance().SetDialogs(std::move(provider))}
{
}

ScopedDialogs::~ScopedDialogs()
{
    Service::Instance().SetDialogs(std::move(before_));
}

}  // namespace vorn::wia
