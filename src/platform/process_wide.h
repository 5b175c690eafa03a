#pragma once

// Marks a variable that belongs to one launcher process.
//
// In the product a process-wide variable is an ordinary one. On the simulated machine several
// launchers live in one program, each on a thread of its own, so there the same variable is one
// for each thread. Every mutable variable outside a function carries this word; nothing else in
// the launcher depends on which machine it runs on.
#ifdef ZELLAUNCHER_SIMULATION
#define PROCESS_WIDE thread_local
#else
#define PROCESS_WIDE
#endif
