// The fixed set of variables over which random trees are built, and the memory in which they are evaluated.
//
// There are a few locals of every scalar type, some globals, volatile globals, two arrays and two structs. Pointers of
// the trees point into the arrays and structs only. Addresses count 16-bit units from 0x1000 on.
#ifndef TESTS_SIMP_WORLD_H
#define TESTS_SIMP_WORLD_H

#include "ir/node.h"
#include "ir/symbol.h"
#include "ir/types.h"

#include <array>
#include <string>
#include <vector>

// Machine kinds of values: integers of 16, 32 and 64 bits (U: unsigned), bool, floats, pointers, objects in memory.
enum KIND : uint8_t { K_NONE, K_B, K_H, K_UH, K_W, K_UW, K_L, K_UL, K_F, K_D, K_P, K_BLOCK };
KIND kind_of_type(const TYPE*);
inline bool is_int_kind(KIND k) { return k >= K_B && k <= K_UL; }
inline bool is_float_kind_of(KIND k) { return k == K_F || k == K_D; }
inline bool is_scalar(KIND k) { return k >= K_B && k <= K_P; }
inline bool is_signed_int(KIND k) { return k == K_H || k == K_W || k == K_L; }
unsigned bits_of_kind(KIND);
const char* kind_text(KIND); // i16, u16, ...
// After the integer promotions, and after the usual arithmetic conversions (a pointer wins over any integer).
KIND promoted_kind(KIND);
KIND combined_kind(KIND, KIND);

constexpr uint32_t first_address = 0x1000;
constexpr uint32_t memory_units = 328;
constexpr uint32_t temporaries_at = 264; // units from here on are for temporaries that the simplifier makes, four each
using IMAGE = std::array<uint16_t, memory_units>; // contents of the memory

struct VARIABLE {
    SYMTAB* symbol;
    KIND kind;
    uint32_t at, units; // place in memory
    bool is_volatile, is_local;
    int points_to = -1; // pointers: number of the object
};

struct WORLD {
    std::vector<VARIABLE> variables; // SYMTAB::word[1] is the index; at most 64 of them
    TYPE* type_of[K_BLOCK + 1] = {}; // K_P: pointer to int
    std::array<uint8_t, memory_units>
        owner{}; // by unit: index of the variable + 1, 0 between objects, 100 and more for temporaries
    std::vector<int> of_kind[K_BLOCK + 1]; // scalars that are not volatile
    std::vector<int> volatiles;
    std::vector<int> bits_and_members;                     // numbers of the struct's members, bit-fields last
    int ints = 0, chars = 0, record = 0, local_record = 0; // the aggregates
    int changed_by_calls = 0;                              // the global int that a call changes
    TYPE* record_type = nullptr;
    TYPE* pointer_to_char = nullptr;
    TYPE* pointer_to_record = nullptr;
    SYMTAB* function = nullptr; // int _ext(int, int), opaque
    SYMTAB* getter = nullptr;   // int _get(void), opaque
};
extern WORLD world;
void make_world(); // once, at the start of the program

inline int variable_of(const SYMTAB* sym) { return static_cast<int>(sym->word[1]); }
inline bool is_world_variable(const SYMTAB* sym) {
    return sym->word[1] < world.variables.size() && world.variables[sym->word[1]].symbol == sym;
}
NODE* name_of(int variable);

// Text of a tree with the type of every operator; a mark ! behind the type says that the result does not overflow.
std::string typed_text(const NODE*);

// A fast generator of reproducible random numbers.
struct RANDOM {
    uint64_t state;
    explicit RANDOM(uint64_t seed) : state(seed) {}
    uint64_t next() {
        uint64_t z = (state += 0x9E3779B97F4A7C15);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }
    int below(int n) { return static_cast<int>(next() % static_cast<uint64_t>(n)); }
    bool one_in(int n) { return below(n) == 0; }
    bool percent(int n) { return below(100) < n; }
    template <typename T> const T& pick(const std::vector<T>& v) { return v[next() % v.size()]; }
};
// Modulo 2^64.
inline int64_t wrapped_sum(int64_t a, int64_t b) {
    return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}
inline int64_t wrapped_negative(int64_t a) { return static_cast<int64_t>(0 - static_cast<uint64_t>(a)); }
inline int64_t low_ones(int n) { return static_cast<int64_t>((uint64_t{1} << n) - 1); } // n below 64
// A value that arithmetic is likely to treat in a special way, cut to the kind by the user.
int64_t special_value(RANDOM&, KIND);

#endif
