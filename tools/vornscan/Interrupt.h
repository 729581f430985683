// Ctrl+C: before a scan it ends the process, which may wait for a host that never answers. Then the first asks the scan
// to stop, the second ends the process where it stands.
#pragma once

namespace vornscan {

void EndAtInterrupts();
void CatchInterrupts();
bool Interrupted();

}  // namespace vornscan
