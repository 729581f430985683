#include "Faults.h"

namespace vorn::wia {

void FaultPlan::Add(Step step, Fault fault, unsigned nth, unsigned count)
{
    AddFor(0, step, fault, nth, count);
}

void FaultPlan::AddFor(PROPID property, Step step, Fault fault, unsigned nth, unsigned count)
{
    const std::lock_guard lock{mutex_};
    entries_.push_back({step, property, fault, nth, count});
    planned_.store(true, std::memory_order_release);
}

std::optional<Fault> FaultPlan::PassPlanned(Step step, PROPID property)
{
    const std::lock_guard lock{mutex_};
    std::optional<Fault> found;
    for (Entry& entry : entries_) {
        if (entry.step != step || (entry.property != 0 && entry.property != property))
            continue;
        const unsigned pass = ++entry.passed;
        if (!found && pass >= entry.nth && pass - entry.nth < entry.count)
            found = entry.fault;
    }
    return found;
}

}  // namespace vorn::wia
