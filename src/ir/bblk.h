// The records of the control-flow graph: BBLK, EDGE, LBL. What works on them is in cfg/.
#ifndef IR_BBLK_H
#define IR_BBLK_H

#include "ir/int65.h"
#include "ir/node.h"

#include <cstdint>

struct BITVEC;
struct FUNINFO;
struct SUPERBLOCK;
struct LOOP_RECORD;
namespace LIR {
struct block;
}

// One cell of an edge list. The list belongs to a block and names the blocks at the far end, each at most once.
struct EDGE {
    BBLK* bb;
    double probability; // -1.0 if unknown
    EDGE* next;

    EDGE(BBLK* far, double p, EDGE* rest) : bb(far), probability(p), next(rest) {}
    static void* operator new(size_t);
    static void operator delete(void*);
};

// A label, owned by the block that it marks.
struct LBL {
    LBL* next;
    BBLK* bb;
    int32_t index; // the label's number; negative ones are the optimizer's
    uint32_t refcount = 0;

    LBL(int32_t number, LBL* rest, BBLK* block) : next(rest), bb(block), index(number) {}
    static void* operator new(size_t);
    static void operator delete(void*);
};

// What few blocks carry at a time; made on first use and owned by the block.
struct BBLK_EXT {
    SUPERBLOCK* superblock = nullptr;
    NODE* loop_control = nullptr; // of a loop header; trees are owned
    NODE* loop_trip_count = nullptr;
    INT65 loop_increment;
    BITVEC* live_in = nullptr; // liveness vectors, owned
    BITVEC* live_out = nullptr;
    BITVEC* live_use = nullptr;
    BITVEC* live_def = nullptr;
    BITVEC* descendants = nullptr; // over dfn, owned
    BITVEC* assigned = nullptr;    // owned
    BITVEC* read = nullptr;        // owned
    double entry_count = -1.0;     // of a profile
    double exit_count = -1.0;
};

struct BBLK {
    uint32_t serial; // place in FUNINFO::blocks
    int32_t uon = 0; // creation-order number
    int32_t dfn = 0; // depth-first number, from 1; 0 while not reached
    int32_t loop_depth = 0;
    FUNINFO* owner;
    LIR::block* lir = nullptr; // low-level form of the block, when the function is in it
    BBLK* dflink = nullptr;    // next in depth-first order, the order in which passes walk the function
    BBLK* rdflink = nullptr;   // previous in that order; the head's is the last block
    BBLK* uolink = nullptr;    // next in creation order; holds all blocks
    LIST* stmts = nullptr;     // owned
    EDGE* preds = nullptr;     // owned
    EDGE* succs = nullptr;     // owned
    EDGE* dfs_cursor = nullptr;
    LBL* labels = nullptr;       // owned
    LOOP_RECORD* loop = nullptr; // innermost loop that holds the block
    PSN* first_psn = nullptr;
    PSN* last_psn = nullptr;
    BBLK_EXT* ext = nullptr; // rare fields, null until one is set; see extra()
    uint8_t visited = 0;
    uint8_t mark = 0;

    BBLK(uint32_t serial_number, FUNINFO* function) : serial(serial_number), owner(function) {}
    virtual ~BBLK() { delete ext; } // freed through erase_bblock, which frees what the rare fields own
    BBLK(const BBLK&) = delete;
    BBLK& operator=(const BBLK&) = delete;

    BBLK_EXT& extra() {
        if (ext == nullptr) ext = new BBLK_EXT;
        return *ext;
    }
};

#endif
