#pragma once

namespace simulation {

// Ends the calling thread of a process that has ended. GCC's runtime for Windows frees the thread's variables
// before it runs their destructors, which then read freed memory; there, nothing of a thread is cleaned up.
// Its few variables stay until the program ends.
void endThread();

}  // namespace simulation
