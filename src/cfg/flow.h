// A snapshot of the flow of control for those who lay out blocks: reverse postorder, natural loops, and an estimate of
// how often each block runs. Good until the graph changes.
#ifndef CFG_FLOW_H
#define CFG_FLOW_H

#include "ir/bblk.h"

#include <cstdint>
#include <vector>

struct FLOW {
    std::vector<BBLK*> order;  // reachable blocks in reverse postorder; positions below are indices into it
    std::vector<int> position; // block serial: position, -1 if not reachable
    std::vector<int> idom;     // position of the immediate dominator; of the first block: 0
    std::vector<int>
        loop_of; // position of the header of the innermost natural loop, -1 outside any; of a header: itself
    std::vector<int> loop_parent;  // of a header: position of the header of the loop around it, -1 if none; others: -1
    std::vector<int> loop_depth;   // number of natural loops around the block
    std::vector<NODE*> end;        // the terminator
    std::vector<int> ways;         // number of successors
    std::vector<double> frequency; // runs for each run of the function, estimated

    // Of the current function. Without loops that have one way in only, `loop_of` is -1 everywhere.
    static FLOW of_current_function();

    int size() const { return static_cast<int>(order.size()); }
    int at(const BBLK* bb) const { return position[bb->serial]; }
    bool is_header(int b) const { return loop_of[b] == b; }
    bool loop_contains(int header, int b) const;        // header -1: the function
    int common_loop(int a, int b) const;                // header of the innermost loop around both, -1 if there is none
    double probability(int from, const BBLK* to) const; // of going that way, 0 to 1
    double false_probability(int from) const;           // of the IF that ends the block
};

#endif
