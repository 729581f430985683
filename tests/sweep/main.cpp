/*
 * Fails every allocation of every exported operation, on every kind of device: once and from then on for ever, in a
 * process that uses the library for the first time (cold) and in one that has done the operation before (warm). Each
 * case is a process of its own. After it nothing has ended the process, leaked, or stayed on the disk, what is reported
 * as success is complete, files that are there can be read, and the same operation succeeds.
 *
 *     vornwia_sweep [--every N] [WORD...]    every N-th allocation; cases with one of the words, and no -WORD
 */
#include <execinfo.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "FailingMemory.h"
#include "Scene.h"
#include "Vornfilx.h"
#include "Vornkrnx.h"
#include "comobject.h"
#include "support/Files.h"

namespace vorn::test {
namespace {

namespace fs = std::filesystem;

constexpr Device kDevices[] = {
    {"flatbed", u"virtual:scanner", WIA_DEVICE_TYPE_SCANNER},
    {"feeder", u"virtual:scanner", WIA_DEVICE_TYPE_SCANNER, true},
    {"compact", u"virtual:compact", WIA_DEVICE_TYPE_SCANNER},
    {"camera", u"virtual:camera", WIA_DEVICE_TYPE_CAMERA},
    {"video", u"virtual:video", WIA_DEVICE_TYPE_VIDEO, false, true},
    {"sane", u"test:0", WIA_DEVICE_TYPE_SCANNER, false, true},
};

struct Case {
    uint32_t version;
    const Device& device;
    const Operation& operation;
    const Output* output;

    std::string Name() const
    {
        return std::string{operation.name} + ", " + device.name + " " + std::to_string(version) +
               (output ? std::string{", "} + output->name : "");
    }
};

/** The allocation to fail; 0: none. */
struct Fault {
    uint64_t nth = 0;
    bool forever = false, warm = false;
};

/** What a case's process has seen, in memory that it shares with this one. */
struct Report {
    uint64_t allocations;
    size_t live;      ///< blocks at the end
    long files;       ///< descriptors at the end
    char good[1100];  ///< status and digest of a success
    char error[1400];
    bool over;  ///< the process came to its end
};

/** The folders of the sweep, below one that goes with it. */
struct Folders {
    Folders() = default;
    Folders(const Folders&) = delete;
    ~Folders()
    {
        std::error_code ignored;
        fs::remove_all(root, ignored);
    }
    std::string Make(const char* name) const
    {
        fs::create_directories(root / name);
        return root / name;
    }

    const fs::path root = fs::temp_directory_path() / ("vorn_sweep_" + std::to_string(getpid()));
    const std::string out = Make("out"), pages = Make("pages"), saved = Make("saved"),
                      temporary = Make("tmp"), data = Make("data"), sane = Make("sane");
};

size_t Descriptors()
{
    return NamesIn("/proc/self/fd").size();
}

void PrintStack(int signal)
{
    void* frames[64];
    backtrace_symbols_fd(frames, backtrace(frames, 64), STDERR_FILENO);
    _exit(128 + signal);
}

/** Whether the files in a folder are whole: "" or what is wrong, and their page counts. */
std::string CheckFiles(const std::string& folder, std::string& counts)
{
    for (const std::string& name : NamesIn(folder)) {
        FilFileInfo info{};
        const int32_t status = FilInfo(Wide(fs::path{folder} / name).c_str(), &info, FIL_INFO_SIZE,
                                       FIL_INFO_COUNT_PAGES, nullptr);
        if (!name.starts_with("page") || status != FIL_SUCCESS)
            return "file " + name + " has status " + std::to_string(status);
        counts += " " + name + "=" + std::to_string(info.pageCount);
    }
    return {};
}

/** One process's work. */
class Run {
public:
    Run(const Case& one, const Fault& fault, const Folders& folders, Report& report)
        : case_{one}, fault_{fault}, folders_{folders}, report_{report}
    {
    }

    void Do()
    {
        WatchAllocations(case_.device.foreign);
        Scene scene{case_.version, case_.device, case_.output, folders_.out.c_str(), folders_.pages.c_str()};
        Prepare(scene);
        if (fault_.warm) {
            Succeed(scene, "the first call");
            Again(scene);
        }
        Reset(scene);
        FailAllocations(fault_.nth, fault_.forever);
        const int32_t status = case_.operation.act(scene);
        report_.allocations = StopFailing();
        const std::string result = ResultOf(scene, status);
        if (fault_.nth == 0)
            Note(report_.good, result);
        else if (status > 0 && result != report_.good && !scene.pageMissing)
            Fail("success reported as \"" + result + "\", and it is \"" + report_.good + "\"");
        else if (status != FIL_ERR_OUT_OF_MEMORY && status != KRN_ERR_OUT_OF_MEMORY && status < 0 &&
                 case_.operation.outputs == kSaved)
            Fail("not enough memory is reported as " + std::to_string(status));
        Again(scene);
        Succeed(scene, "the next call");
        if (!case_.operation.endsSession)
            scene.Close();
        CheckNothingLeft();
    }

private:
    void Prepare(Scene& scene)
    {
        const Needs needs = case_.operation.needs;
        if (needs >= Needs::Session)
            scene.OpenSession();
        if (needs >= Needs::Device)
            scene.SelectDevice();
        if (needs == Needs::Item)
            scene.TakeItem();
        if (needs == Needs::Video)
            Vorn_WiaStartVideoPreview(scene.session, nullptr, 1);
        if (case_.operation.endsSession && scene.item) {
            Vorn_WiaFreeItem(scene.session, scene.item);
            scene.item = nullptr;
        }
    }

    /** Makes up for an operation that takes what it needs. */
    void Again(Scene& scene)
    {
        if (case_.operation.endsSession)
            Prepare(scene);
        else if (case_.operation.needs == Needs::Video)
            Vorn_WiaStartVideoPreview(scene.session, nullptr, 1);
    }

    /** The output folder as it is before the operation. */
    void Reset(Scene& scene)
    {
        scene.digest = {};
        if (scene.root)
            scene.SetUp();
        for (const std::string& name : NamesIn(folders_.out))
            fs::remove(fs::path{folders_.out} / name);
        if (case_.output && case_.output->append) {
            const std::string name = std::string{"/page."} + case_.output->extension;
            fs::copy_file(folders_.saved + name, folders_.out + name);
        }
    }

    std::string ResultOf(const Scene& scene, int32_t status)
    {
        std::string files;
        if (const std::string wrong = CheckFiles(folders_.out, files); !wrong.empty())
            Fail(wrong);
        return std::to_string(status) + scene.digest.Text() + files;
    }

    void Succeed(Scene& scene, const char* what)
    {
        Reset(scene);
        const std::string result = ResultOf(scene, case_.operation.act(scene));
        if (report_.good[0] && result != report_.good)
            Fail(std::string{what} + " gives \"" + result + "\" in place of \"" + report_.good + "\"");
        else
            Note(report_.good, result);
    }

    void CheckNothingLeft()
    {
        if (KrnTrackedCount() != 0)
            Fail(std::to_string(KrnTrackedCount()) + " tracked blocks");
        if (LiveObjects::Count() != 0)
            Fail(std::to_string(LiveObjects::Count()) + " objects alive");
        const size_t live = LiveBlocks(), files = Descriptors();
        if (fault_.nth == 0) {
            report_.live = live;
            report_.files = static_cast<long>(files);
        } else if (live > report_.live) {
            Fail(std::to_string(live) + " blocks live, not " + std::to_string(report_.live));
            PrintLiveBlocks();
        }
        if (static_cast<long>(files) > report_.files)
            Fail(std::to_string(files) + " open files, not " + std::to_string(report_.files));
    }

    static void Note(char (&to)[1100], const std::string& text)
    {
        std::snprintf(to, sizeof to, "%s", text.c_str());
    }
    void Fail(const std::string& what)
    {
        const std::string all = std::string{report_.error} + (report_.error[0] ? "; " : "") + what;
        std::snprintf(report_.error, sizeof report_.error, "%s", all.c_str());
    }

    const Case& case_;
    const Fault& fault_;
    const Folders& folders_;
    Report& report_;
};

class Sweep {
public:
    Sweep()
        : report_{*static_cast<Report*>(
              mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))}
    {
        setenv("TMPDIR", folders_.temporary.c_str(), 1);
        setenv("XDG_DATA_HOME", folders_.data.c_str(), 1);
        setenv("VORNWIA_VIRTUAL_DEVICES", "1", 1);
        WriteBytes(folders_.sane + "/dll.conf", "test\n");
        WriteBytes(folders_.sane + "/test.conf",
                   "number_of_devices 1\nmode Color\nresolution 50\ntl_x 0\ntl_y 0\n"
                   "br_x 20\nbr_y 20\n");
    }

    /** Files to append to, and to lay onto the glass. */
    void MakePages(const Case& one)
    {
        InProcess(one, {});
        for (const std::string& name : NamesIn(folders_.out))
            fs::rename(folders_.out + "/" + name, folders_.saved + "/" + name);
        // More pages than are asked for: where the page count cannot be written, a download brings several, and the
        // library keeps the first of them.
        if (fs::exists(folders_.saved + "/page.tif"))
            for (const char* name : {"/page.tif", "/page 2.tif"})
                fs::copy_file(folders_.saved + "/page.tif", folders_.pages + name,
                              fs::copy_options::skip_existing);
    }

    void Do(const Case& one, uint64_t every)
    {
        ++cases_;
        for (const bool warm : {false, true}) {
            report_ = {};
            InProcess(one, {.warm = warm});
            const std::string good = report_.good;
            if (!warm)
                std::printf("%s: %llu allocations, %s\n", one.Name().c_str(),
                            static_cast<unsigned long long>(report_.allocations), good.c_str());
            const Report plain = report_;
            for (const bool forever : {false, true}) {
                // A sample has another place in each case, and the same ones in each run.
                const uint64_t first = 1 + (every == 1 ? 0 : cases_ * 7919 % every);
                for (uint64_t nth = first; nth <= plain.allocations + (every == 1 ? 100 : 0); nth += every) {
                    report_ = plain;
                    InProcess(one, {nth, forever, warm});
                    if (report_.over && report_.allocations < nth)
                        break;
                }
            }
        }
    }

    int Summary() const
    {
        std::printf("%zu cases, %zu runs, %zu failures\n", cases_, runs_, failures_);
        return failures_ == 0 && runs_ > 0 ? 0 : 1;
    }

private:
    void InProcess(const Case& one, const Fault& fault)
    {
        ++runs_;
        report_.over = false;
        std::fflush(stdout);
        const pid_t child = fork();
        if (child == 0) {
            for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGALRM})
                ::signal(signal, PrintStack);
            void* frame;
            backtrace(&frame, 1);  // loads what it needs
            setenv("SANE_CONFIG_DIR", one.device.id[0] == u't' ? folders_.sane.c_str() : "/nonexistent", 1);
            alarm(60);
            Run{one, fault, folders_, report_}.Do();
            report_.over = true;
            std::exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        std::string error = report_.error;
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
            error += " the process ended with " + std::to_string(status);
        else if (const auto left = NamesIn(folders_.temporary); !left.empty())
            error += " left in the temporary directory: " + *left.begin();
        if (error.empty())
            return;
        ++failures_;
        std::printf("FAILED: %s, %s, allocation %llu%s: %s\n", one.Name().c_str(),
                    fault.warm ? "warm" : "cold", static_cast<unsigned long long>(fault.nth),
                    fault.forever ? " and all after it" : "", error.c_str());
        std::fflush(stdout);
        for (const std::string& name : NamesIn(folders_.temporary))
            fs::remove_all(fs::path{folders_.temporary} / name);
        if (!report_.over)
            report_.allocations = UINT64_MAX, report_.over = true;  // there is more to come
    }

    Folders folders_;
    Report& report_;
    size_t cases_ = 0, runs_ = 0, failures_ = 0;
};

bool Applies(const Operation& operation, const Device& device, uint32_t version, const Output* output)
{
    if (operation.needs == Needs::Video || std::strstr(operation.name, "Video"))
        return device.type == WIA_DEVICE_TYPE_VIDEO;
    if (operation.outputs == kSaved)
        return &device == kDevices && version == 1;
    // A feeder and the smaller scanner differ in their settings and pages only.
    const bool variant = device.feeder || std::strcmp(device.name, "compact") == 0;
    if (!operation.outputs)
        return !variant || std::strcmp(operation.name, "Properties") == 0;
    // One form of the call takes each way out, the others one or two of them.
    if (std::strcmp(operation.name, "Acquire") == 0)
        return device.type == WIA_DEVICE_TYPE_SCANNER;
    const bool memory = output == &kOutputs[0], multiPage = output == &kOutputs[2];
    const bool toFile = std::strstr(operation.name, "ToFile");
    return operation.needs == Needs::Nothing ? memory && !variant : multiPage || (memory && !toFile);
}

std::vector<Case> Cases()
{
    static const Output none[2]{{"-"}, {}};
    std::vector<Case> cases;
    for (const Device& device : kDevices)
        for (const uint32_t version : {1u, 2u})
            for (const Operation* operation = kOperations; operation->name; ++operation)
                for (const Output* output = operation->outputs ? operation->outputs : none; output->name;
                     ++output)
                    if (Applies(*operation, device, version, output))
                        cases.push_back({version, device, *operation, operation->outputs ? output : nullptr});
    return cases;
}

/** True for a name with one of the words, or any when there is none, and with none that follows a `-`. */
bool IsWanted(const std::string& name, const std::vector<std::string>& words)
{
    bool wanted = true, asked = false, found = false;
    for (const std::string& word : words) {
        if (word[0] == '-') {
            wanted = wanted && name.find(word.substr(1)) == std::string::npos;
        } else {
            asked = true;
            found = found || name.find(word) != std::string::npos;
        }
    }
    return wanted && (found || !asked);
}

}  // namespace
}  // namespace vorn::test

int main(int argc, char** argv)
{
    using namespace vorn::test;
    std::vector<std::string> words{argv + 1, argv + argc};
    uint64_t every = 1;
    if (words.size() >= 2 && words[0] == "--every") {
        every = std::strtoull(words[1].c_str(), nullptr, 10);
        words.erase(words.begin(), words.begin() + 2);
    }
    Sweep sweep;
    const std::vector<Case> cases = Cases();
    for (const Case& one : cases)
        if (const std::string name = one.Name();
            name == "Acquire, feeder 1, tiff" || name == "SaveAndLoad, flatbed 1, pdf")
            sweep.MakePages(one);
    for (const Case& one : cases)
        if (IsWanted(one.Name(), words))
            sweep.Do(one, every);
    return sweep.Summary();
}
