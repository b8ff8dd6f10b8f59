// Counters of what a run executes. The code generator knows for each straight piece of code what it holds, so that the
// run only counts how often each piece was entered.
#ifndef NXRUN_COUNT_H
#define NXRUN_COUNT_H

#include <cstdint>
#include <string>

enum COUNTER {
#define COUNT(key, weight, total) C_##key,
#include "count.def"
    COUNTERS
};

// What one straight piece of code holds.
struct BLOCK_COUNT {
    uint32_t n[COUNTERS] = {};
    uint32_t nodes = 0; // tree nodes
};

struct COUNTS {
    uint64_t n[COUNTERS] = {};
    uint64_t nodes = 0; // tree nodes executed; not part of the report

    void add(const BLOCK_COUNT&, uint64_t times);
    uint64_t total() const;
    uint64_t cost() const;
    std::string json() const; // one object, a key a line, with total and cost at the end
};

#endif
