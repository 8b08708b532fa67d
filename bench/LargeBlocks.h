// Benchmarks that allocate blocks of about 100 MB per iteration.
#pragma once

#include <malloc.h>

#include <climits>

// The C library maps each block above its mmap threshold (at most 32 MiB)
// afresh and unmaps it when it is freed, so a benchmark that allocates 96 MB
// per iteration pays the first touch of every page of it each time, while one
// of 12 MB reuses heap memory: their ratio would show the page faults of a
// virtual machine rather than the library's work. Keeping every block on the
// heap (for the rest of the program) compares the two sizes alike. Call it
// first in such a benchmark, and register those last.
inline void keepLargeBlocksOnTheHeap() {
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
}
