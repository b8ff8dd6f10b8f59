// The reference evaluator: what a tree computes, by the meaning of the opcodes, on a given memory.
//
// A tree is compiled once and run on many inputs. A run yields the value, the memory afterwards, and a trace of what
// must neither be dropped nor doubled: calls and volatile accesses, in order.
#ifndef TESTS_SIMP_EVALUATE_H
#define TESTS_SIMP_EVALUATE_H

#include "world.h"

struct DATUM {
    int64_t i = 0; // integers and pointers: the value in the range of its kind; u64: the bits
    double f = 0;  // floats
};

struct OUTCOME {
    const char* undefined = nullptr; // the input gives no defined value: why
    DATUM value;
    std::vector<uint64_t> trace;
    bool asserted = true; // every assertion met held
};

// First words of the trace's entries: a call, followed by its arguments; a volatile read; a volatile write, followed by
// the value. The address or the function's number is added.
constexpr uint64_t call_event = 0x1000000, read_event = 0x2000000, write_event = 0x3000000;
// A call hashes its arguments: hash = salt + call_event + number, then hash ^= argument * factor for each. It gives the
// hash if that is at least 2^31, else its low three bits; sets the global gc to hash * 5 + 1; changes A[1] by ^= of its
// low 16 bits.
constexpr uint32_t call_factor(size_t argument) { return argument == 1 ? 0x9E3779B1 : 0x85EBCA77; }

class CODE {
  public:
    explicit CODE(const NODE*);
    const std::string& unsupported() const { return unsupported_; } // not empty: the tree cannot be run
    KIND kind() const { return nodes_.empty() ? K_NONE : nodes_[static_cast<size_t>(root_)].kind; }
    // `original`: the tree as it stood before: pointers must stay in their objects and conversions of floats in range,
    // else the input is undefined. `salt` decides what calls and volatile reads give.
    void run(IMAGE&, uint64_t salt, bool original, OUTCOME&) const;
    std::vector<int64_t> constants() const; // the integer constants of the tree
    uint64_t variables() const { return variables_; }

  private:
    friend class MACHINE;
    struct EN {
        int op = 0;
        KIND kind = K_NONE;
        bool marked = false, is_volatile = false, is_bitfield = false, is_signed = false;
        int left = -1, right = -1;
        int64_t imm = 0; // constant; NAME: address; FIELD: bit offset; calls: number of the function
        double f = 0;
        unsigned width = 0; // bits of the access
    };
    int add(const NODE*);
    std::vector<EN> nodes_;
    std::vector<const SYMTAB*> temporaries_;
    int root_ = -1;
    uint64_t variables_ = 0;
    std::string unsupported_;
};

DATUM convert_value(DATUM, KIND from, KIND to, bool* out_of_range = nullptr);
bool values_agree(DATUM, DATUM, KIND); // the same bits; any NaN agrees with any other
int64_t cut(int64_t, KIND);            // to the kind's width, extended by its signedness
std::string value_text(DATUM, KIND);

// Reads and writes a scalar variable in a memory image.
DATUM get_variable(const IMAGE&, int variable);
void set_variable(IMAGE&, int variable, DATUM);

#endif
