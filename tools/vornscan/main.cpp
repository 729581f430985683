// vornscan: scans pages into image files.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <new>

#include "Acquire.h"
#include "DataSheet.h"
#include "Destination.h"
#include "Failure.h"
#include "Interrupt.h"
#include "Json.h"
#include "Options.h"
#include "Session.h"
#include "Settings.h"
#include "Video.h"
#include "VirtualDevices.h"

namespace vornscan {
namespace {

void ListDevices(Session& session, bool json)
{
    const auto [devices, failure] = session.Devices();
    if (json)
        PrintJson(devices);
    else
        for (const Device& device : devices)
            std::cout << Printable(device.id) << "\t" << device.Shown() << "\t"
                      << Printable(device.description) << "\n";
    if (failure)
        throw *failure;
    if (devices.empty())
        Say(NoDevice().what());
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
    if (!files.empty() && !options.batch)
        SayOtherName(options.outputFile, files.front());
    if (options.json)
        return;
    for (auto file = files.begin(); file != files.end(); ++file)
        if (std::find(files.begin(), file, *file) == file)
            std::cout << *file << "\n";
}

std::string Pages(size_t count)
{
    return std::to_string(count) + (count == 1 ? " page" : " pages");
}

/** Nothing when the acquisition brought what was asked for. */
std::optional<Failure> Judge(const Outcome& outcome, const Options& options, const Device& device)
{
    const size_t got = outcome.files.size();
    const size_t wanted = static_cast<size_t>(options.pages);
    if (outcome.failure)
        return outcome.failure;
    if (outcome.status == SUCCESS && !outcome.lost && wanted != 0 && got >= wanted)
        return std::nullopt;
    if (Interrupted())
        return Failure{ExitCode::Cancelled, "cancelled after " + Pages(got)};
    if (outcome.lost)
        return Failure{ExitCode::InputOutput,
                       device.Shown() + ": page " + std::to_string(got + 1) +
                           " was scanned and lost, as memory is short; the pages before it are complete. "
                           "Scan it again with a lower resolution"};
    const bool ended = outcome.status == SUCCESS || outcome.status == ERR_WIA_PAPER_EMPTY;
    if (!ended || (got == 0 && outcome.status != SUCCESS))
        return StatusFailure(ConcernsFile(outcome.status) ? options.outputFile : device.Shown(),
                             outcome.status);
    if (got == 0)
        return Failure{ExitCode::NoDocuments, device.Shown() + ": there was nothing to acquire"};
    if (got < wanted)
        return Failure{ExitCode::NoDocuments, device.Shown() + ": the feeder is empty after " +
                                                  std::to_string(got) + " of " + Pages(wanted) +
                                                  "; put more paper in"};
    return std::nullopt;
}

/** A device that is set as asked. */
struct Ready {
    Device device;
    std::optional<Item> item;  ///< of a scanner
    std::optional<Destination> destination;
    Delivery delivery;
};

bool IsScan(const Options& options)
{
    return !options.allOptions && !options.dontScan;
}

/** The device that is named, else the one that the user's environment names as it does for SANE's own programs. */
Device OpenDevice(Session& session, const Options& options)
{
    const char* const usual = std::getenv("SANE_DEFAULT_DEVICE");
    if (options.device || options.virtualDevices || !usual || !*usual)
        return session.Open(options.device);
    try {
        return session.Open(usual);
    } catch (const Failure& failure) {
        throw Failure{failure.Code(), std::string{"SANE_DEFAULT_DEVICE: "} + failure.what()};
    }
}

Ready Prepare(Session& session, const Options& options)
{
    if (!options.outputFile.empty())
        CheckDestination(options);
    Ready ready{OpenDevice(session, options), {}, {}, {}};
    if (!options.device && !options.allOptions)
        Say("scanning with " + ready.device.Label());
    if (options.virtualPages)
        SetVirtualPages(session, ready.device, *options.virtualPages);
    if (session.IsScanner())
        ready.item = PrepareScanner(session, ready.device, options);
    if (!IsScan(options))
        return ready;
    ready.destination = CheckDestination(options);
    ready.delivery = ready.item
                         ? PrepareTransfer(session, *ready.item, ready.device, options, *ready.destination)
                         : PrepareCamera(session, ready.device, options, *ready.destination);
    return ready;
}

/** A scan that could not begin is told like one that failed. */
Ready PrepareOrTell(Session& session, const Options& options)
{
    try {
        return Prepare(session, options);
    } catch (const Failure& failure) {
        const std::string wanted = options.device.value_or("");
        if (options.json && IsScan(options))
            PrintJson(Outcome{}, {wanted, wanted, ""}, failure);
        throw;
    }
}

/** Acquires, tells what came of it, and throws unless that is what was asked for. */
void AcquirePages(const Session& session, const Ready& ready, const Options& options)
{
    CatchInterrupts();
    const Outcome outcome = Acquire(session, ready.item, options, *ready.destination, ready.delivery);
    ListFiles(outcome, options);
    const std::optional<Failure> failure = Judge(outcome, options, ready.device);
    if (options.json)
        PrintJson(outcome, ready.device, failure);
    if (failure)
        throw *failure;
}

void ShowDevice(const Session& session, const Ready& ready, bool json)
{
    const DataSheet sheet = ReadDataSheet(session, ready.device, ready.item);
    if (json)
        PrintJson(sheet);
    else
        Print(sheet);
}

void UseDevice(Session& session, const Options& options)
{
    const Ready ready = PrepareOrTell(session, options);
    if (options.allOptions)
        ShowDevice(session, ready, options.json);
    else if (IsScan(options))
        AcquirePages(session, ready, options);
}

void Run(const Options& options)
{
    EndAtInterrupts();
    std::optional<VirtualDevices> virtualDevices;
    if (options.virtualDevices)
        virtualDevices.emplace();
    if (options.video && !options.listDevices) {
        CatchInterrupts();
        ShowVideo(options);
    } else {
        Session session{options.generation};
        if (options.listDevices)
            ListDevices(session, options.json);
        else
            UseDevice(session, options);
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
