#include "Video.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <thread>

#include "Failure.h"
#include "Interrupt.h"
#include "Session.h"
#include "System.h"
#include "Text.h"
#include "VideoWindow.h"

namespace vornscan {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/** How long a wait goes on before it looks for Ctrl+C and the time. */
constexpr std::chrono::milliseconds kTick{50};

/** Only generation 1 shows video. */
constexpr uint32_t kGeneration = 1;

bool IsVideoDevice(const Session& session)
{
    uint32_t type = WIA_DEVICE_TYPE_ANY;
    return Vorn_WiaGetSelectedDeviceType(session.Handle(), &type) == SUCCESS && type == WIA_DEVICE_TYPE_VIDEO;
}

/** Opens the device that is named, else the first that has video. */
Device OpenVideoDevice(Session& session, const std::optional<std::string>& wanted)
{
    if (wanted) {
        Device device = session.Open(wanted);
        if (!IsVideoDevice(session))
            throw Failure{ExitCode::Usage,
                          device.Shown() + ": this device has no live video; vornscan -L lists the devices"};
        return device;
    }
    const auto [devices, failure] = session.Devices();
    for (const Device& device : devices) {
        try {
            session.Open(device.id);
        } catch (const Failure&) {
            continue;  // a device that is in use must not hide the next one
        }
        if (IsVideoDevice(session))
            return device;
    }
    throw Failure{
        ExitCode::Usage,
        "none of the devices has live video; connect a camera, or try the virtual one with --virtual"};
}

void CheckPictureFile(const Options& options)
{
    const fs::path file = ToPath(*options.picture);
    fs::path directory = file.parent_path();
    if (directory.empty())
        directory = ".";
    std::string extension = file.extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    std::error_code error;
    if (extension != ".jpg" && extension != ".jpeg")
        throw Failure{ExitCode::Usage, *options.picture + ": pictures of video are JPEG files; use .jpg"};
    if (!fs::is_directory(directory, error))
        throw Failure{ExitCode::InputOutput, *options.picture + ": there is no directory " +
                                                 directory.string() + "; create it first"};
    if (!MayWrite(directory))
        throw Failure{ExitCode::InputOutput, *options.picture + ": nothing may be written in " +
                                                 directory.string() + "; choose another directory"};
    if (fs::exists(file, error) && !options.overwrite)
        throw Failure{
            ExitCode::InputOutput,
            *options.picture + " is there already; name another file, or replace it with --overwrite"};
}

/** What to do where the platform has no video object, or one that lacks something. */
#ifdef _WIN32
constexpr char kNoVideo[] = ": this system cannot play live video";
#else
constexpr char kNoVideo[] =
    ": live video cannot be played here; on Debian, install gstreamer1.0-plugins-base, "
    "gstreamer1.0-plugins-good and gstreamer1.0-x";
#endif

Failure PreviewFailure(const std::string& subject, int32_t status)
{
    return status == ERR_WIA_UNEXPECTED ? Failure{ExitCode::InputOutput, subject + kNoVideo}
                                        : StatusFailure(subject, status);
}

/** A running preview, ended with its scope. */
class Preview {
public:
    Preview(const Session& session, const Device& device, HWND window)
        : session_{session.Handle()}, device_{device}
    {
        if (const int32_t status = Vorn_WiaStartVideoPreview(session_, window, 1); status != SUCCESS)
            throw PreviewFailure(device.Shown(), status);
    }
    Preview(const Preview&) = delete;
    Preview& operator=(const Preview&) = delete;
    ~Preview() { Vorn_WiaEndVideoPreview(session_); }

    void Fit() const { Vorn_WiaResizeVideoPreview(session_, 1); }

    /** Takes a picture; the file that the platform wrote. */
    fs::path Take() const
    {
        WCHAR name[VORNWIA_NAME_CHARS] = {};
        uint64_t size = VORNWIA_NAME_CHARS;
        if (const int32_t status = Vorn_WiaAcquireImageFromVideo(session_, name, &size); status != SUCCESS)
            throw PreviewFailure("taking a picture with " + device_.Shown(), status);
        return name;
    }

private:
    WiaSession* session_;
    const Device& device_;
};

/** Takes the pictures to where the person wants them, the first one under the name given. */
class Album {
public:
    explicit Album(const Options& options) : options_{options} {}

    bool Empty() const { return count_ == 0; }

    void Add(const fs::path& picture)
    {
        std::string name = picture.string();
        if (options_.picture) {
            const fs::path target = NextName();
            Move(picture, target);
            name = target.string();
        }
        ++count_;
        std::cout << name << std::endl;
    }

private:
    /** The name given, for the first; "name (1).jpg" and so on for the others. */
    fs::path NextName() const
    {
        const fs::path first = ToPath(*options_.picture);
        fs::path name = first;
        std::error_code error;
        for (unsigned number = 1; count_ > 0 && fs::exists(name, error); ++number) {
            name = first;
            name.replace_filename(first.stem());
            name += " (" + std::to_string(number) + ")";
            name += first.extension();
        }
        return name;
    }

    void Move(const fs::path& picture, const fs::path& target) const
    {
        const bool replace = options_.overwrite && count_ == 0;
        std::error_code error;
        fs::copy_file(picture, target,
                      replace ? fs::copy_options::overwrite_existing : fs::copy_options::none, error);
        if (error)
            throw Failure{ExitCode::InputOutput, target.string() + " cannot be written (" + error.message() +
                                                     "); the picture is in " + picture.string()};
        fs::remove(picture, error);
    }

    const Options& options_;
    unsigned count_ = 0;
};

/** Shows the video until the person or the time ends it. */
void Watch(const Preview& preview, VideoWindow* window, std::optional<Clock::time_point> end, Album& album)
{
    while (!Interrupted() && !(end && Clock::now() >= *end)) {
        if (!window) {
            std::this_thread::sleep_for(kTick);
            continue;
        }
        switch (window->Wait(kTick)) {
            case Wish::Picture:
                album.Add(preview.Take());
                break;
            case Wish::Resize:
                preview.Fit();
                break;
            case Wish::End:
                return;
            case Wish::Nothing:
                break;
        }
    }
}

}  // namespace

void ShowVideo(const Options& options)
{
    if (options.picture)
        CheckPictureFile(options);
    Session session{kGeneration};
    const Device device = OpenVideoDevice(session, options.device);
    const std::unique_ptr<VideoWindow> window = VideoWindow::Open(device.Shown());
    if (!window && !options.picture)
        throw Failure{ExitCode::Usage,
                      "there is no display to show the video on; take a picture of it with "
                      "--picture FILE"};
    if (window)
        std::cerr << "vornscan: showing " << device.Shown() << "; space takes a picture, q ends\n";

    const Preview preview{session, device, window ? window->Handle() : nullptr};
    std::optional<Clock::time_point> end;
    if (options.seconds || !window)
        end = Clock::now() + std::chrono::seconds{options.seconds.value_or(0)};
    Album album{options};
    Watch(preview, window.get(), end, album);

    if (Interrupted())
        throw Failure{ExitCode::Cancelled, "cancelled"};
    if (options.picture && album.Empty())
        album.Add(preview.Take());
}

}  // namespace vornscan
