// The internal code that trees are compiled to, and the program made of it.
//
// A function's scalars and intermediate values live in 64-bit slots of its frame. An integer stands there as the
// mathematical value, sign- or zero-extended to 64 bits by its own signedness; a pointer zero-extended; a double as its
// bits; a float as its bits, zero-extended. Everything else lives in memory (memory.h).
#ifndef NXRUN_BYTECODE_H
#define NXRUN_BYTECODE_H

#include "count.h"
#include "memory.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

enum BYTECODE : uint16_t {
#define OP(name, writes) B_##name,
#include "bytecode.def"
    B_COUNT
};

struct INSN {
    uint16_t op = 0;
    uint16_t a = 0, b = 0, c = 0;
    union {
        int64_t imm;
        struct {
            int32_t x, y;
        };
    };
    INSN() : imm(0) {}
};
static_assert(sizeof(INSN) == 16);

// Machine kinds of values.
enum VKIND : uint8_t {
    V_VOID,
    V_H,
    V_UH,
    V_W,
    V_UW,
    V_L,
    V_UL,
    V_F,
    V_D,     // scalars, in the order of the integer kinds above
    V_BLOCK, // struct, union, array: an object in memory
    V_FUNC,  // a function; only its address is a value
    V_BAD    // a type that the interpreter has no value for
};
inline bool is_integer_kind(VKIND k) { return k >= V_H && k <= V_UL; }
inline bool is_float_kind(VKIND k) { return k == V_F || k == V_D; }
inline bool is_scalar_kind(VKIND k) { return k >= V_H && k <= V_D; }
inline bool is_signed_kind(VKIND k) { return k == V_H || k == V_W || k == V_L; }
inline uint32_t units_of_kind(VKIND k) { return k <= V_UH ? 1 : k == V_L || k == V_UL || k == V_D ? 4 : 2; }

// What a call passes and expects. A struct argument is the address of a copy; a struct result is written to an address
// that the caller passes behind the arguments (and behind the address of the variadic area).
struct SIGNATURE {
    VKIND result = V_VOID;
    uint32_t result_units = 0; // of a struct result
    bool variadic = false;
    std::vector<VKIND> params;
    std::vector<uint32_t> param_units; // of struct parameters, else 0

    uint32_t slots() const { return uint32_t(params.size()) + variadic + (result == V_BLOCK); }
    friend bool operator==(const SIGNATURE&, const SIGNATURE&) = default;
};

struct SOURCE_POSITION {
    const char* file = nullptr; // null: not known
    uint32_t line = 0, column = 0;
};

class VM;
// A library function: arguments in a[0], a[1], ..., the address of the variadic area behind them; result to a[0].
using LIBRARY_HANDLER = void (*)(VM&, int64_t* a);

struct JUMP_TABLE {
    std::vector<std::pair<int64_t, uint32_t>> cases; // ascending values; label, later instruction
    uint32_t otherwise = 0;
    // Dense form, used when not empty: targets of first, first + 1, ...
    int64_t first = 0;
    std::vector<uint32_t> dense;
    void make_dense(); // if the cases lie close together
};

struct FUNCTION {
    std::string name; // as in C
    ADDRESS address = 0;
    SIGNATURE signature;
    bool defined = false;              // has code
    LIBRARY_HANDLER handler = nullptr; // library function
    std::vector<INSN> code;
    std::vector<uint32_t> position_of; // for each instruction, index into positions
    std::vector<SOURCE_POSITION> positions;
    std::vector<JUMP_TABLE> tables;
    uint32_t slots = 0;                                       // size of the frame
    uint32_t frame_units = 0;                                 // memory of an activation
    std::vector<std::pair<uint32_t, uint32_t>> frame_objects; // place and units of what is in use from the entry on
};

constexpr int64_t undefined_value = 0x5A5A; // fits every type

struct PROGRAM {
    std::vector<std::unique_ptr<FUNCTION>> functions; // by number; the address says the number
    std::vector<SIGNATURE> signatures;                // of calls through pointers
    std::vector<std::string> texts;                   // of CHECK and STOP
    std::vector<BLOCK_COUNT> blocks;
    FUNCTION* main = nullptr;
    // The file is an output of nxopt, which may read a local in front of the test that guards it and then not use the
    // value: reading an unwritten local gives undefined_value and is no trap.
    bool reads_ahead = false;
    // Addresses of objects that the library and the program share; 0 if the file does not declare them.
    ADDRESS stdin_handle = 0, stdout_handle = 0, stderr_handle = 0, errno_object = 0;
};

#endif
