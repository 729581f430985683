// vornscan: scans pages into image files.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <new>

#include "Acquire.h"
#include "Destination.h"
#include "Failure.h"
#include "Interrupt.h"
#include "Options.h"
#include "Session.h"
#include "Settings.h"
#include "Video.h"
#ifdef _WIN32
#include "VirtualDevices.h"
#endif

namespace vornscan {
namespace {

void Say(const std::string& message)
{
    std::cerr << "vornscan: " << message << "\n";
}

void ListDevices(Session& session)
{
    for (const Device& device : session.Devices())
        std::cout << device.id << "\t" << device.name << "\t" << device.description << "\n";
}

/** Says so when the pages are not in the file that the person named. */
void SayOtherName(const std::string& named, const std::string& used)
{
    const bool sameKind = std::filesystem::path{named}.extension() == std::filesystem::path{used}.extension();
    if (used != named)
        Say(sameKind ? named + " is there already: the scan is in " + used
                     : "the device chose the format: the scan is in " + used);
}

/** Each finished file once, also those of an acquisition that failed later. */
void ListFiles(const Outcome& outcome, const Options& options)
{
    const std::vector<std::string>& files = outcome.files;
    if (!files.empty())
        SayOtherName(options.outputFile, files.front());
    for (auto file = files.begin(); file != files.end(); ++file)
        if (std::find(files.begin(), file, *file) == file)
            std::cout << *file << "\n";
}

std::string Pages(size_t count)
{
    return std::to_string(count) + (count == 1 ? " page" : " pages");
}

/** Throws unless the acquisition brought what was asked for. */
void Judge(const Outcome& outcome, const Options& options, const Device& device)
{
    const size_t got = outcome.files.size();
    const size_t wanted = static_cast<size_t>(options.pages);
    if (outcome.failure)
        throw *outcome.failure;
    if (outcome.status == SUCCESS && wanted != 0 && got >= wanted)
        return;
    if (Interrupted())
        throw Failure{ExitCode::Cancelled, "cancelled after " + Pages(got)};
    const bool ended = outcome.status == SUCCESS || outcome.status == ERR_WIA_PAPER_EMPTY;
    if (!ended || (got == 0 && outcome.status != SUCCESS))
        throw StatusFailure(ConcernsFile(outcome.status) ? options.outputFile : device.name, outcome.status);
    if (got == 0)
        throw Failure{ExitCode::NoDocuments, device.name + ": there was nothing to acquire"};
    if (got < wanted)
        throw Failure{ExitCode::NoDocuments, device.name + ": the feeder is empty after " +
                                                 std::to_string(got) + " of " + Pages(wanted) +
                                                 "; put more paper in"};
}

void Scan(Session& session, const Options& options)
{
    const Destination destination = CheckDestination(options);
    const Device device = session.Open(options.device);
    if (!options.device)
        Say("scanning with " + device.name);
    if (options.virtualPages)
        SetVirtualPages(session, device, *options.virtualPages);

    std::optional<Item> item;
    if (session.IsScanner())
        item = PrepareScanner(session, device, options, destination);
    else
        PrepareCamera(session, device, options, destination);

    const Outcome outcome = Acquire(session, item, options, destination);
    ListFiles(outcome, options);
    Judge(outcome, options, device);
}

void Run(const Options& options)
{
    CatchInterrupts();
#ifdef _WIN32
    std::optional<VirtualDevices> virtualDevices;
    if (options.virtualDevices)
        virtualDevices.emplace();
#endif
    if (options.video && !options.listDevices) {
        ShowVideo(options);
    } else {
        Session session{options.generation};
        if (options.listDevices)
            ListDevices(session);
        else
            Scan(session, options);
    }
    if (!std::cout.flush())
        throw Failure{ExitCode::InputOutput, "standard output cannot be written"};
}

ExitCode RunTool(int argc, char** argv)
{
    try {
        if (const std::optional<Options> options = ParseOptions(argc, argv))
            Run(*options);
        return ExitCode::Ok;
    } catch (const Failure& failure) {
        Say(failure.what());
        return failure.Code();
    } catch (const std::bad_alloc&) {
        Say("not enough memory; close other programs or try a lower resolution");
        return ExitCode::InputOutput;
    } catch (const std::exception& error) {
        Say(error.what());
        return ExitCode::InputOutput;
    }
}

}  // namespace
}  // namespace vornscan

int main(int argc, char** argv)
{
    return static_cast<int>(vornscan::RunTool(argc, argv));
}
