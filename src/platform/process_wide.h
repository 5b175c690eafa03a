#pragma once

// Marks every mutable variable outside a function. In the product it expands to nothing. On the
// simulated machine it makes the variable thread_local, because there each launcher process is a
// thread of one program.
#ifdef ZELLAUNCHER_SIMULATION
#define PROCESS_WIDE thread_local
#else
#define PROCESS_WIDE
#endif
