// The user's wish to stop: SIGINT or SIGTERM as a flag.
#pragma once

namespace lab {

// From now on both signals set the flag instead of ending the process; a second one ends it.
void CatchInterrupts();
bool Interrupted();

}  // namespace lab
