#include "Desk.h"

#include <algorithm>
#include <iterator>

#include "wia/model/Item.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;

std::string Numbers(const std::vector<SeenPage>& pages)
{
    std::string text;
    for (const SeenPage& page : pages) {
        if (!text.empty())
            text += ' ';
        text += page.pixels.empty() ? "empty" : std::to_string(page.pixels[0]);
    }
    return text;
}

/** Adds the pages of a file; the file library's status. */
int32_t LoadPages(const fs::path& file, std::vector<SeenPage>& pages)
{
    FilFileInfo info{};
    int32_t status = FilInfo(Wide(file).c_str(), &info, FIL_INFO_SIZE, FIL_INFO_COUNT_PAGES, nullptr);
    FilLoadOptions options{};
    FilDefaultLoadOptions(&options, FIL_LOAD_OPTIONS_SIZE);
    Notes notes;
    BitmapHandle bitmap{};
    for (options.page = 1; status == FIL_SUCCESS && options.page <= info.pageCount; ++options.page) {
        status = FilLoad(Wide(file).c_str(), &bitmap, KRN_BITMAP_SIZE, 0, 0, &options, nullptr);
        if (status == FIL_SUCCESS)
            notes.Note(&bitmap, nullptr, 0, 0);
    }
    KrnFreeBitmap(&bitmap);
    std::move(notes.pages.begin(), notes.pages.end(), std::back_inserter(pages));
    return status;
}

/** The last part of a path, on either platform's separators. */
std::string LastPart(const std::string& path)
{
    return path.substr(path.find_last_of("/\\") + 1);
}

/** "2 0 /folder/a.bmp" or "2 0 C:\\folder\\a.bmp" without the folder. */
std::string WithoutFolder(const std::string& call)
{
    const size_t drive = call.find(":\\");
    const size_t name = drive == std::string::npos ? call.find('/') : drive - 1;
    return name == std::string::npos ? call : call.substr(0, name) + LastPart(call);
}

/** The virtual scanner, its sources edited. */
DeviceBuilder EveryItem(const TreeEdit& edit)
{
    DeviceBuilder scanner = VirtualScanner();
    for (const WCHAR* name : {VORN_TEXT("Scan"), VORN_TEXT("Flatbed"), VORN_TEXT("Feeder")})
        scanner.EditItem(name, edit);
    return scanner;
}

}  // namespace

std::string Trace(const Road& road, bool toFile)
{
    return road.name + std::string{toFile ? ", to file" : ""};
}

std::vector<CannedPage> NumberedPages(uint32_t count)
{
    std::vector<CannedPage> pages;
    for (uint32_t number = 1; number <= count; ++number)
        pages.push_back(PlainPage(16, 8, 24, static_cast<uint8_t>(number)));
    return pages;
}

DeviceBuilder ScannerWith(std::vector<CannedPage> pages, bool forever)
{
    const SourceFactory source = [pages, forever] { return MakeCannedPages(pages, forever); };
    return EveryItem([source](ItemDefinition& item) { item.single = item.feeder = source; });
}

DeviceBuilder WriterOf(std::string bytes)
{
    return EveryItem([bytes](ItemDefinition& item) {
        item.file = [bytes](IWiaDataCallback*, STGMEDIUM& medium) {
            if (!bytes.empty())
                WriteBytes(WString{medium.lpszFileName}, bytes);
            return S_OK;
        };
        item.download = [bytes](LONG, IWiaTransferCallback* receiver) {
            ComPtr<IStream> stream;
            if (!bytes.empty() && receiver->GetNextStream(0, nullptr, nullptr, stream.Out()) == S_OK)
                stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr);
            stream.Reset();
            WiaTransferParams end{};
            end.lMessage = WIA_TRANSFER_MSG_END_OF_TRANSFER;
            return receiver->TransferCallback(0, &end);
        };
    });
}

DeviceBuilder CameraWith(uint32_t pictures)
{
    DeviceBuilder camera{StiDeviceTypeDigitalCamera};
    for (uint32_t number = 1; number <= pictures; ++number) {
        const WString name = WString{VORN_TEXT("Picture ")} + static_cast<WCHAR>('0' + number);
        for (const Generation generation : kGenerations) {
            camera.Child(generation,
                         PictureItem(generation, name, PlainPage(16, 8, 24, static_cast<uint8_t>(number))));
        }
    }
    return camera;
}

std::string Outcome::Pages() const
{
    return Numbers(pages);
}

std::string PagesOf(const fs::path& file)
{
    std::vector<SeenPage> pages;
    const int32_t status = LoadPages(file, pages);
    return status == FIL_SUCCESS ? Numbers(pages) : std::string{"status "} + std::to_string(status);
}

std::vector<SeenPage> DeliveredPages(const Outcome& outcome, const fs::path& folder)
{
    std::vector<SeenPage> pages;
    std::copy_if(outcome.pages.begin(), outcome.pages.end(), std::back_inserter(pages),
                 [](const SeenPage& page) { return !page.pixels.empty(); });
    for (const std::string& file : outcome.files)
        EXPECT_EQ(LoadPages(folder / file, pages), FIL_SUCCESS) << file;
    return pages;
}

std::string Delivered(const Outcome& outcome, const fs::path& folder)
{
    return Numbers(DeliveredPages(outcome, folder));
}

void AddPage(const fs::path& file, uint8_t number)
{
    const std::vector<uint8_t> rows(16 * 3 * 8, number);
    BitmapHandle bitmap{};
    ASSERT_EQ(KrnCreateBitmap(&bitmap, KRN_BITMAP_SIZE, KRN_MEMORY_PROCESS, 16, 8, 24, KRN_COLOR_ORDER_BGR,
                              nullptr, KRN_VIEW_BOTTOM_LEFT, rows.data(), rows.size()),
              KRN_SUCCESS);
    EXPECT_EQ(FilSave(Wide(file).c_str(), &bitmap, FilFormatFromName(Wide(file).c_str()), 0,
                      FIL_SAVE_ADD_PAGE, FIL_COMPRESSION_DEFAULT, nullptr, nullptr, nullptr),
              FIL_SUCCESS);
    KrnFreeBitmap(&bitmap);
}

AcquireOptions Named(const fs::path& file, uint32_t overwrite, uint32_t multiPage, uint32_t append)
{
    AcquireOptions options{};
    options.structSize = sizeof(options);
    options.overwriteFile = overwrite;
    options.multiPageFile = multiPage;
    options.appendToFile = append;
    Wide(file).copy(options.fileName, VORNWIA_NAME_CHARS);
    return options;
}

Outcome Collect(int32_t status, uint32_t fileCount, WCHAR** list, Notes notes)
{
    Outcome outcome;
    outcome.status = status;
    outcome.fileCount = fileCount;
    outcome.listed = list != nullptr;
    for (uint32_t i = 0; list && i < fileCount; ++i) {
        outcome.files.push_back(list[i] ? LastPart(Narrow(list[i])) : "(null)");
        KrnFree(list[i], __LINE__, "Desk");
    }
    KrnFree(list, __LINE__, "Desk");
    for (const std::string& call : notes.calls)
        outcome.calls.push_back(WithoutFolder(call));
    outcome.pages = std::move(notes.pages);
    return outcome;
}

Desk::Desk(Generation generation, const DeviceBuilder& device)
    : generation_{generation}, devices_{device.Build()}
{
    EXPECT_EQ(Vorn_WiaInitSession(static_cast<uint32_t>(generation), &session_), SUCCESS);
    const auto select = [](WiaSession* session, const WiaDeviceInfo* info, void*) {
        return Vorn_WiaSelectDevice(session, info->deviceId);
    };
    EXPECT_EQ(Vorn_WiaEnumDevices(session_, select, nullptr), SUCCESS);
    EXPECT_NE(Vorn_WiaGetSelectedDevice(session_), nullptr);
}

Desk::Desk(const Road& road, const DeviceBuilder& device, LONG pages, bool feeder)
    : Desk{road.generation, device}
{
    if (road.generation == Generation::One) {
        Set(Root(), WIA_DPS_DOCUMENT_HANDLING_SELECT, feeder ? FEEDER : FLATBED);
        item = Child(VORN_TEXT("Scan"));
    } else {
        item = Child(feeder ? VORN_TEXT("Feeder") : VORN_TEXT("Flatbed"));
    }
    SetMedium(road.file);
    Set(Root(), WIA_DPS_PAGES, pages);
}

Desk::~Desk()
{
    for (const WiaItemHandle child : children_)
        Vorn_WiaFreeItem(session_, child);
    Vorn_WiaEndSession(session_);
}

WiaItemHandle Desk::Root() const
{
    WiaItemHandle root = nullptr;
    EXPECT_EQ(Vorn_WiaGetRootItem(session_, nullptr, &root), SUCCESS);
    return root;
}

WiaItemHandle Desk::Child(WStringView name)
{
    const size_t known = children_.size();
    EXPECT_EQ(Vorn_WiaEnumChildItems(
                  session_, Root(),
                  [](WiaSession*, uint32_t, WiaItemHandle child, void* children) {
                      static_cast<std::vector<WiaItemHandle>*>(children)->push_back(child);
                      return 1;
                  },
                  &children_),
              SUCCESS);
    for (size_t i = known; i < children_.size(); ++i) {
        WCHAR text[64] = {};
        uint64_t size = 64;
        Vorn_WiaGetPropertyString(session_, children_[i], nullptr, WIA_IPA_ITEM_NAME, text, &size);
        if (text == name)
            return children_[i];
    }
    ADD_FAILURE() << "no item " << Narrow(WString{name}.c_str());
    return nullptr;
}

void Desk::Set(WiaItemHandle target, PROPID id, LONG value)
{
    EXPECT_EQ(Vorn_WiaSetPropertyLong(session_, target, nullptr, id, value), SUCCESS) << id << "=" << value;
}

LONG Desk::Get(WiaItemHandle target, PROPID id)
{
    int32_t value = -1;
    EXPECT_EQ(Vorn_WiaGetPropertyLong(session_, target, nullptr, id, &value), SUCCESS) << id;
    return value;
}

void Desk::SetFormat(REFGUID format)
{
    EXPECT_EQ(Vorn_WiaSetPropertyGUID(session_, item, nullptr, WIA_IPA_FORMAT, &format), SUCCESS);
}

void Desk::SetMedium(bool file)
{
    Set(item, WIA_IPA_TYMED, file ? TYMED_FILE : TYMED_CALLBACK);
    SetFormat(file || generation_ == Generation::Two ? WiaImgFmt_BMP : WiaImgFmt_MEMORYBMP);
}

Outcome Desk::Acquire(const AcquireOptions* options, Notes notes)
{
    uint32_t count = wantCount ? 77 : 0;  // garbage, until the acquisition says otherwise
    WCHAR* garbage = nullptr;
    WCHAR** list = wantList ? &garbage : nullptr;
    uint32_t* const countOut = wantCount ? &count : nullptr;
    WCHAR*** const listOut = wantList ? &list : nullptr;
    const int32_t status =
        toFile ? Vorn_WiaAcquireToFile(session_, nullptr, flags, item, options, countOut, listOut,
                                       callback ? Notes::FileCallback : nullptr, &notes)
               : Vorn_WiaAcquire(session_, nullptr, flags, item, options, countOut, listOut,
                                 callback ? Notes::Callback : nullptr, &notes);
    EXPECT_NE(list, &garbage);
    return Collect(status, wantCount ? count : listLength, list, std::move(notes));
}

void AcquireTest::EmptyFolder()
{
    for (const std::string& name : NamesIn(Folder()))
        fs::remove_all(Folder() / name);
}

std::string AcquireTest::In(const fs::path& folder)
{
    std::string text;
    for (const std::string& name : NamesIn(folder))
        text += (text.empty() ? "" : ", ") + name + "=" + PagesOf(folder / name);
    return text;
}

std::string AcquireTest::PageFile(uint8_t number)
{
    const ScratchFolder scratch;
    AddPage(scratch.Path() / "page.bmp", number);
    return BytesOf(scratch.Path() / "page.bmp");
}

HRESULT Dialogs::SelectDevice(const DeviceQuestion& question, DevicePtr& chosen)
{
    asked.push_back("device " + std::to_string(question.deviceType) + " " + std::to_string(question.flags));
    if (answer == S_OK)
        chosen = question.devices.front();
    return answer;
}

HRESULT Dialogs::SelectItems(const ItemsQuestion& question, std::vector<Item*>& chosen)
{
    asked.push_back("items " + std::to_string(question.flags));
    if (answer != S_OK)
        return answer;
    chosen = choice.empty() ? question.items : std::vector<Item*>{};
    for (const size_t position : choice)
        chosen.push_back(question.items.at(position));
    return S_OK;
}

HRESULT Dialogs::SelectImages(const ImageQuestion& question, std::vector<Item*>& chosen,
                              std::vector<WString>& written)
{
    asked.push_back("images " + std::to_string(question.flags) + " " +
                    Narrow(WString{question.folder}.c_str()) + "|" +
                    Narrow(WString{question.fileName}.c_str()));
    written = files;
    if (answer == S_OK && files.empty())
        chosen = question.items;
    return answer;
}

}  // namespace vorn::test
