// A back end for SANE's library that does what real ones do at their worst. The device's name says what, once for each
// name: `PLACE-DEED` for a deed while a function of that name runs, or the name of a value that cannot be.
// $SANE_CONFIG_DIR/search holds the deed of a search that is not of this machine alone, if any.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <clocale>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <vector>

#include <unistd.h>

#include <sane/sane.h>

namespace {

constexpr SANE_Int kWidth = 64, kLines = 64;

std::string g_name;   ///< of the device that is open; one a process
std::string g_value;  ///< the deed or value that it shows, empty once it is shown
int g_linesRead = 0;
int g_resolution = 25, g_bottom = 64;
bool g_cancelled = false;
std::mutex g_mutex;
std::condition_variable g_changed;

std::string Marker(const std::string& name)
{
    return std::string{std::getenv("SANE_CONFIG_DIR")} + "/shown-" + name;
}

void NoteShown()
{
    std::ofstream{Marker(g_name)} << "shown\n";
}

SANE_Status Wait(bool untilCancelled)
{
    std::unique_lock lock{g_mutex};
    g_changed.wait_for(lock, std::chrono::hours{1}, [&] { return untilCancelled && g_cancelled; });
    return SANE_STATUS_CANCELLED;
}

SANE_Status Do(const std::string& deed)
{
    if (deed == "crash")
        raise(SIGSEGV);
    if (deed == "abort")
        std::abort();
    if (deed == "exit")
        std::exit(0);
    if (deed == "wait" || deed == "hang")
        return Wait(deed == "wait");
    if (deed == "spin")
        for (std::atomic<int> i = 0;; ++i) {
        }
    if (deed == "print") {
        std::puts("said on standard output");
        std::fputs("said on standard error\n", stderr);
        std::fflush(stdout);
    }
    if (deed == "close")
        for (int descriptor = 3; descriptor < 64; ++descriptor)
            close(descriptor);
    if (deed == "change") {
        signal(SIGCHLD, SIG_IGN);
        signal(SIGTERM, SIG_IGN);
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, nullptr);
        setlocale(LC_ALL, "C");
        return chdir("/") == 0 ? SANE_STATUS_GOOD : SANE_STATUS_INVAL;
    }
    if (deed == "allocate") {
        std::vector<void*> blocks;
        while (void* block = std::malloc(size_t{256} << 20))
            blocks.push_back(block);
        return SANE_STATUS_NO_MEM;
    }
    if (deed == "fork" && fork() == 0)
        pause();
    return deed == "lost" ? SANE_STATUS_IO_ERROR : SANE_STATUS_GOOD;
}

/** The deed of the open device, when it belongs to this place. */
SANE_Status At(const char* place)
{
    static std::mutex mutex;  // a page may be cancelled from another thread
    const std::string start = std::string{place} + "-";
    std::string deed;
    {
        const std::lock_guard lock{mutex};
        if (!g_value.starts_with(start))
            return SANE_STATUS_GOOD;
        NoteShown();
        deed = g_value.substr(start.size());
        g_value.clear();
    }
    return Do(deed);
}

bool Is(const char* value)
{
    return g_value == value;
}

SANE_Word g_wordList[1 << 20];
char g_endless[1 << 16];
SANE_Range g_range{1, 1200, 1};
const SANE_Range kArea{0, 1000, 1};
const SANE_String_Const g_texts[] = {"one", "two", nullptr};

SANE_Option_Descriptor Number(const char* name, SANE_Unit unit, const SANE_Range* range)
{
    SANE_Option_Descriptor option{};
    option.name = option.title = option.desc = name;
    option.type = SANE_TYPE_INT;
    option.unit = unit;
    option.size = sizeof(SANE_Word);
    option.cap = SANE_CAP_SOFT_DETECT | SANE_CAP_SOFT_SELECT;
    if (range) {
        option.constraint_type = SANE_CONSTRAINT_RANGE;
        option.constraint.range = range;
    }
    return option;
}

/** The options: their number, resolution, bottom edge and one that cannot be. */
SANE_Option_Descriptor g_options[] = {
    Number("", SANE_UNIT_NONE, nullptr),        Number("resolution", SANE_UNIT_DPI, &g_range),
    Number("tl-y", SANE_UNIT_PIXEL, &kArea),    Number("br-y", SANE_UNIT_PIXEL, &kArea),
    Number("strange", SANE_UNIT_NONE, nullptr),
};

void MakeStrange()
{
    SANE_Option_Descriptor& option = g_options[4];
    if (Is("size-zero"))
        option.size = 0;
    else if (Is("size-negative"))
        option.size = -4;
    else if (Is("size-huge"))
        option.size = 0x7ffffffc;
    else if (Is("size-odd"))
        option.size = 7;
    else if (Is("type-unknown"))
        std::memset(&option.type, 0x63, sizeof option.type);
    else if (Is("name-null"))
        option.name = nullptr;
    else if (Is("name-endless")) {
        std::memset(g_endless, 'x', sizeof g_endless);
        option.name = g_endless;
    } else if (Is("list-null") || Is("list-huge") || Is("list-negative")) {
        g_wordList[0] = Is("list-huge") ? 0x7fffffff : -5;
        option.constraint_type = SANE_CONSTRAINT_WORD_LIST;
        option.constraint.word_list = Is("list-null") ? nullptr : g_wordList;
    } else if (Is("range-reversed")) {
        g_range = {1200, 1, -7};
    } else if (Is("range-null")) {
        option.constraint_type = SANE_CONSTRAINT_RANGE;
        option.constraint.range = nullptr;
    } else if (Is("texts-null") || Is("texts-of-number")) {
        option.type = Is("texts-null") ? SANE_TYPE_STRING : SANE_TYPE_INT;
        option.constraint_type = SANE_CONSTRAINT_STRING_LIST;
        option.constraint.string_list = Is("texts-null") ? nullptr : g_texts;
    } else if (Is("value-endless")) {
        option.type = SANE_TYPE_STRING;
    }
}

SANE_Parameters Page()
{
    SANE_Parameters page{SANE_FRAME_GRAY, SANE_TRUE, kWidth, kWidth, kLines, 8};
    if (Is("lines-announced"))
        page.lines = 3'000'000;
    else if (Is("lines-endless") || Is("lines-unknown"))
        page.lines = -1;
    else if (Is("lines-none"))
        page.lines = 0;
    else if (Is("line-short"))
        page.bytes_per_line = kWidth - 1;
    else if (Is("line-negative"))
        page.bytes_per_line = -64;
    else if (Is("line-huge"))
        page.bytes_per_line = 0x7fffffff;
    else if (Is("pixels-negative"))
        page.pixels_per_line = -64;
    else if (Is("pixels-huge"))
        page.pixels_per_line = 0x7fffffff;
    else if (Is("depth-unknown"))
        page.depth = 7;
    else if (Is("frame-unknown"))
        std::memset(&page.format, 0x63, sizeof page.format);
    return page;
}

}  // namespace

extern "C" {

SANE_Status sane_misbehaving_init(SANE_Int* version, SANE_Auth_Callback)
{
    if (version)
        *version = SANE_VERSION_CODE(SANE_CURRENT_MAJOR, 0, 0);
    return SANE_STATUS_GOOD;
}

void sane_misbehaving_exit()
{
    At("exit");
}

SANE_Status sane_misbehaving_get_devices(const SANE_Device*** devices, SANE_Bool local)
{
    static const SANE_Device* none = nullptr;
    *devices = &none;
    std::string deed;
    std::ifstream{std::string{std::getenv("SANE_CONFIG_DIR")} + "/search"} >> deed;
    return local ? SANE_STATUS_GOOD : Do(deed);
}

SANE_Status sane_misbehaving_open(SANE_String_Const name, SANE_Handle* handle)
{
    g_name = name;
    g_value = std::ifstream{Marker(g_name)} ? "" : g_name;
    *handle = &g_name;
    MakeStrange();
    return At("open");
}

void sane_misbehaving_close(SANE_Handle)
{
    At("close");
}

const SANE_Option_Descriptor* sane_misbehaving_get_option_descriptor(SANE_Handle, SANE_Int option)
{
    At("describe");
    if (option < 0 || (!Is("count-huge") && option >= 5))
        return nullptr;
    return &g_options[std::min(option, 4)];
}

SANE_Status sane_misbehaving_control_option(SANE_Handle, SANE_Int option, SANE_Action action, void* value,
                                            SANE_Int* info)
{
    const SANE_Status status = At(action == SANE_ACTION_SET_VALUE ? "set" : "get");
    if (status != SANE_STATUS_GOOD)
        return status;
    if (option == 4 && Is("value-endless") && action == SANE_ACTION_GET_VALUE) {
        std::memset(value, 'x', 1000);
        return SANE_STATUS_GOOD;
    }
    int count = Is("count-huge") ? 0x7fffffff : Is("count-negative") ? -1 : 5, other = 0;
    int* const held = option == 0 ? &count : option == 1 ? &g_resolution : option == 3 ? &g_bottom : &other;
    if (action == SANE_ACTION_SET_VALUE)
        *held = *static_cast<SANE_Int*>(value);
    else
        *static_cast<SANE_Int*>(value) = *held;
    if (info)
        *info = Is("info-garbage") ? -1 : 0;
    return SANE_STATUS_GOOD;
}

SANE_Status sane_misbehaving_get_parameters(SANE_Handle, SANE_Parameters* parameters)
{
    *parameters = Page();
    return At("parameters");
}

SANE_Status sane_misbehaving_start(SANE_Handle)
{
    g_linesRead = 0;
    g_cancelled = false;
    return At("start");
}

SANE_Status sane_misbehaving_read(SANE_Handle, SANE_Byte* data, SANE_Int capacity, SANE_Int* length)
{
    *length = 0;
    if (g_linesRead > 0)
        if (const SANE_Status status = At("read"); status != SANE_STATUS_GOOD)
            return status;
    const bool endless = Is("lines-endless");
    const int last = Is("lines-announced") ? 10 : kLines;
    if (!endless && g_linesRead >= last)
        return SANE_STATUS_EOF;
    const int fits = capacity / kWidth;
    const int lines = endless ? fits : g_linesRead == 0 ? 1 : std::min(last - g_linesRead, fits);
    g_linesRead += lines;
    *length = lines * kWidth;
    std::memset(data, 0x55, static_cast<size_t>(*length));
    if (Is("data-negative"))
        *length = -*length;
    if (Is("data-more"))
        *length = capacity + 1;
    if (Is("data-error-with-length") && g_linesRead > 1) {
        *length = 0x7fffffff;
        return SANE_STATUS_JAMMED;
    }
    return SANE_STATUS_GOOD;
}

void sane_misbehaving_cancel(SANE_Handle)
{
    At("cancel");
    const std::scoped_lock lock{g_mutex};
    g_cancelled = true;
    g_changed.notify_all();
}

SANE_Status sane_misbehaving_set_io_mode(SANE_Handle, SANE_Bool nonBlocking)
{
    return nonBlocking ? SANE_STATUS_UNSUPPORTED : SANE_STATUS_GOOD;
}

SANE_Status sane_misbehaving_get_select_fd(SANE_Handle, SANE_Int*)
{
    return SANE_STATUS_UNSUPPORTED;
}
}
