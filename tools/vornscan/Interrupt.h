// Ctrl+C: the first asks the scan to stop, the second ends the process where it stands.
#pragma once

namespace vornscan {

void CatchInterrupts();
bool Interrupted();

}  // namespace vornscan
