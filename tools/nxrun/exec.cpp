// The dispatch loop and what surrounds it: see exec.h.
#include "exec.h"

#include "library.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <sys/mman.h>

VM::VM(PROGRAM& p, MEMORY& m, const VM_OPTIONS& o)
    : program(p), mem(m), options(o), library(std::make_unique<LIBRARY_STATE>(*this)), memory_top_(m.stack_begin()),
      entered_(p.blocks.size()), steps_left_(o.max_steps > 0 ? o.max_steps : std::numeric_limits<int64_t>::max()) {
    void* area = mmap(nullptr, slot_limit * sizeof(int64_t), PROT_READ | PROT_WRITE,
                      MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (area == MAP_FAILED) throw BAD_FILE{"not enough memory for the program's stack"};
    slots_ = static_cast<int64_t*>(area);
    on_output = [this](int stream, const char* text, size_t n) {
        FILE* to = stream == 2 ? stderr : stdout;
        if (fwrite(text, 1, n, to) != n || fflush(to) != 0) write_error = 1;
    };
    on_input = [] { return getc(stdin); };
}

VM::~VM() { munmap(slots_, slot_limit * sizeof(int64_t)); }

// --------------------------------------------------------------------------------------------- the dispatch loop

namespace {

// A floating value toward zero, held within the range of T; NaN gives 0. `cut` is set if the value did not fit.
template <typename T, typename F> int64_t saturated(F value, bool& cut) {
    // The bounds as floating values: the lower is exact, the upper one is the first value that does not fit.
    constexpr F low = static_cast<F>(std::numeric_limits<T>::min());
    const F high = std::ldexp(F{1}, std::numeric_limits<T>::digits);
    F whole = std::trunc(value);
    if (whole >= low && whole < high) return static_cast<int64_t>(static_cast<T>(whole));
    cut = true;
    if (std::isnan(value)) return 0;
    return static_cast<int64_t>(value < 0 ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max());
}

inline float as_float(int64_t slot) { return std::bit_cast<float>(static_cast<uint32_t>(slot)); }
inline double as_double(int64_t slot) { return std::bit_cast<double>(slot); }
inline int64_t from_float(float v) { return std::bit_cast<uint32_t>(v); }
inline int64_t from_double(double v) { return std::bit_cast<int64_t>(v); }

inline int64_t to_H(uint64_t v) { return static_cast<int16_t>(v); }
inline int64_t to_UH(uint64_t v) { return static_cast<uint16_t>(v); }
inline int64_t to_W(uint64_t v) { return static_cast<int32_t>(v); }
inline int64_t to_UW(uint64_t v) { return static_cast<uint32_t>(v); }
inline int64_t to_L(uint64_t v) { return static_cast<int64_t>(v); }

// Units that are written, each state byte holding the bit.
inline bool written(const uint8_t* s, int n) {
    if (n == 1) return (*s & UNIT_WRITTEN) != 0;
    if (n == 2) {
        uint16_t v;
        memcpy(&v, s, 2);
        return (v & 0x0101) == 0x0101;
    }
    uint32_t v;
    memcpy(&v, s, 4);
    return (v & 0x01010101) == 0x01010101;
}
inline bool writable(const uint8_t* s, int n) {
    if (n == 1) return (*s & UNIT_WRITABLE) != 0;
    if (n == 2) {
        uint16_t v;
        memcpy(&v, s, 2);
        return (v & 0x0202) == 0x0202;
    }
    uint32_t v;
    memcpy(&v, s, 4);
    return (v & 0x02020202) == 0x02020202;
}

// Up to 64 bits that begin `first` bits above the address.
int64_t load_bits(MEMORY& mem, ADDRESS at, uint32_t first, uint32_t width, bool is_signed) {
    at += first / 16;
    first %= 16;
    uint32_t n = (first + width + 15) / 16;
    mem.check_read(at, n);
    unsigned __int128 all = 0;
    memcpy(&all, mem.units + at, size_t{n} * 2);
    uint64_t v = static_cast<uint64_t>(all >> first);
    if (width == 64) return static_cast<int64_t>(v);
    v <<= 64 - width;
    return is_signed ? static_cast<int64_t>(v) >> (64 - width) : static_cast<int64_t>(v >> (64 - width));
}

// The other bits of the units keep their value; a unit that was not written counts as 0.
void store_bits(MEMORY& mem, ADDRESS at, uint32_t first, uint32_t width, int64_t value) {
    at += first / 16;
    first %= 16;
    uint32_t n = (first + width + 15) / 16;
    mem.check_write(at, n);
    unsigned __int128 all = 0;
    for (uint32_t i = 0; i < n; ++i)
        if ((mem.state[at + i] & UNIT_WRITTEN) == 0) mem.units[at + i] = 0;
    memcpy(&all, mem.units + at, size_t{n} * 2);
    unsigned __int128 mask = ((static_cast<unsigned __int128>(1) << width) - 1) << first;
    all = (all & ~mask) | ((static_cast<unsigned __int128>(static_cast<uint64_t>(value)) << first) & mask);
    memcpy(mem.units + at, &all, size_t{n} * 2);
    mem.set_state(at, n, UNIT_VALUE);
}

uint32_t select_target(const JUMP_TABLE& table, int64_t value) {
    if (!table.dense.empty()) {
        uint64_t i = static_cast<uint64_t>(value) - static_cast<uint64_t>(table.first);
        return i < table.dense.size() ? table.dense[i] : table.otherwise;
    }
    auto it = std::lower_bound(table.cases.begin(), table.cases.end(), value,
                               [](const std::pair<int64_t, uint32_t>& c, int64_t v) { return c.first < v; });
    return it != table.cases.end() && it->first == value ? it->second : table.otherwise;
}

void swap_blocks(MEMORY& mem, ADDRESS a, ADDRESS b, uint32_t n) {
    mem.check_read(a, n);
    mem.check_read(b, n);
    mem.check_write(a, n);
    mem.check_write(b, n);
    for (uint32_t i = 0; i < n; ++i) std::swap(mem.units[a + i], mem.units[b + i]);
}

} // namespace

void VM::enter(const FUNCTION* f, int64_t* slots) {
    if (frames_.size() >= frame_limit || slots + f->slots > slots_ + slot_limit ||
        memory_top_ + f->frame_units > mem.stack_end())
        trap("stack overflow: " + std::to_string(frames_.size()) + " calls deep");
    frames_.push_back({f, f->code.data(), slots, memory_top_, 0});
    if (f->frame_units != 0) {
        for (auto [at, units] : f->frame_objects) mem.set_state(memory_top_ + at, units, UNIT_WRITABLE);
        memory_top_ += f->frame_units;
    }
}

void VM::run(const FUNCTION* entry, int64_t* entry_slots) {
    static const void* const labels[B_COUNT] = {
#define OP(name, writes) &&L_##name,
#include "bytecode.def"
    };
    if (++host_depth_ > host_limit) {
        --host_depth_;
        trap("calls from library functions nest too deeply");
    }
    const size_t bottom = frames_.size();
    enter(entry, entry_slots);

    uint16_t* const U = mem.units;
    uint8_t* const S = mem.state;
    uint64_t* const entered = entered_.data();
    const INSN* pc = entry->code.data();
    const INSN* code = pc;
    int64_t* R = entry_slots;
    ADDRESS frame = frames_.back().memory;

#define RA R[pc->a]
#define RB R[pc->b]
#define RC R[pc->c]
#define UA static_cast<uint64_t>(RA)
#define UB static_cast<uint64_t>(RB)
#define UC static_cast<uint64_t>(RC)
#define IMM static_cast<uint64_t>(pc->imm)
#define DISPATCH() goto* labels[pc->op]
#define NEXT()                                                                                                         \
    do {                                                                                                               \
        ++pc;                                                                                                          \
        DISPATCH();                                                                                                    \
    } while (0)
#define SIMPLE(name, expr)                                                                                             \
    L_##name : RA = (expr);                                                                                            \
    NEXT();

resumed:
    try {
        DISPATCH();

#define ARITH(stem, kind, op)                                                                                          \
    SIMPLE(stem##_RR_##kind, to_##kind(UB op UC))                                                                      \
    SIMPLE(stem##_RI_##kind, to_##kind(UB op IMM))
#define ARITH5(stem, op)                                                                                               \
    ARITH(stem, H, op) ARITH(stem, UH, op) ARITH(stem, W, op) ARITH(stem, UW, op) ARITH(stem, L, op)
        ARITH5(ADD, +)
        ARITH5(SUB, -)
        ARITH5(MUL, *)
#define SHIFT(kind)                                                                                                    \
    SIMPLE(SHL_RR_##kind, to_##kind(UC >= 64 ? 0 : UB << UC))                                                          \
    SIMPLE(SHL_RI_##kind, to_##kind(IMM >= 64 ? 0 : UB << IMM))
        SHIFT(H)
        SHIFT(UH)
        SHIFT(W)
        SHIFT(UW)
        SHIFT(L)
        // Tables with one entry a line from here on, which the formatter would run together.
        // clang-format off
        SIMPLE(AND_RR, RB & RC)
        SIMPLE(AND_RI, RB & pc->imm)
        SIMPLE(OR_RR, RB | RC)
        SIMPLE(OR_RI, RB | pc->imm)
        SIMPLE(XOR_RR, RB ^ RC)
        SIMPLE(XOR_RI, RB ^ pc->imm)
        SIMPLE(SHR_S_RR, RB >> (UC >= 64 ? 63 : UC))
        SIMPLE(SHR_S_RI, RB >> (IMM >= 64 ? 63 : IMM))
        SIMPLE(SHR_UL_RR, static_cast<int64_t>(UC >= 64 ? 0 : UB >> UC))
        SIMPLE(SHR_UL_RI, static_cast<int64_t>(IMM >= 64 ? 0 : UB >> IMM))

#define DIVIDE(stem, kind, quotient)                                                                                   \
    L_##stem##_##kind : if (RC == 0) trap("division by zero");                                                         \
    RA = (quotient);                                                                                                   \
    NEXT();
        DIVIDE(DIV, H, to_H(static_cast<uint64_t>(RB / RC)))
        DIVIDE(DIV, W, to_W(static_cast<uint64_t>(RB / RC)))
        DIVIDE(DIV, L, RC == -1 ? static_cast<int64_t>(-UB) : RB / RC)
        DIVIDE(DIV, U, RB / RC)
        DIVIDE(DIV, UL, static_cast<int64_t>(UB / UC))
        DIVIDE(MOD, H, RB % RC)
        DIVIDE(MOD, W, RB % RC)
        DIVIDE(MOD, L, RC == -1 ? 0 : RB % RC)
        DIVIDE(MOD, U, RB % RC)
        DIVIDE(MOD, UL, static_cast<int64_t>(UB % UC))

        SIMPLE(NEG_H, to_H(-UB))
        SIMPLE(NEG_UH, to_UH(-UB))
        SIMPLE(NEG_W, to_W(-UB))
        SIMPLE(NEG_UW, to_UW(-UB))
        SIMPLE(NEG_L, to_L(-UB))
        SIMPLE(NOT_S, ~RB)
        SIMPLE(NOT_UH, to_UH(~UB))
        SIMPLE(NOT_UW, to_UW(~UB))
        SIMPLE(ABS_H, to_H(RB < 0 ? -UB : UB))
        SIMPLE(ABS_W, to_W(RB < 0 ? -UB : UB))
        SIMPLE(ABS_L, to_L(RB < 0 ? -UB : UB))

#define CHECKED(stem, builtin, kind, type)                                                                             \
    L_##stem##_##kind : {                                                                                              \
        type result;                                                                                                   \
        if (builtin(static_cast<type>(RB), static_cast<type>(RC), &result)) trap("signed overflow");                   \
        RA = result;                                                                                                   \
        NEXT();                                                                                                        \
    }
#define CHECKED3(stem, builtin)                                                                                        \
    CHECKED(stem, builtin, H, int16_t) CHECKED(stem, builtin, W, int32_t) CHECKED(stem, builtin, L, int64_t)
        CHECKED3(ADDT, __builtin_add_overflow)
        CHECKED3(SUBT, __builtin_sub_overflow)
        CHECKED3(MULT, __builtin_mul_overflow)

#define SIGNED_REL(rel, op)                                                                                            \
    SIMPLE(rel##_RR, RB op RC)                                                                                         \
    SIMPLE(rel##_RI, RB op pc->imm)                                                                                    \
    L_J##rel##_RR : if (RA op RB) goto jump;                                                                           \
    NEXT();                                                                                                            \
    L_J##rel##_RI : if (RA op int64_t{pc->x}) goto jump;                                                               \
    NEXT();
#define UNSIGNED_REL(rel, op)                                                                                          \
    SIMPLE(rel##_RR, UB op UC)                                                                                         \
    SIMPLE(rel##_RI, UB op IMM)                                                                                        \
    L_J##rel##_RR : if (UA op UB) goto jump;                                                                           \
    NEXT();                                                                                                            \
    L_J##rel##_RI : if (UA op static_cast<uint64_t>(int64_t{pc->x})) goto jump;                                        \
    NEXT();
        SIGNED_REL(EQ, ==)
        SIGNED_REL(NE, !=)
        SIGNED_REL(LT, <)
        SIGNED_REL(LE, <=)
        SIGNED_REL(GT, >)
        SIGNED_REL(GE, >=)
        UNSIGNED_REL(ULT, <)
        UNSIGNED_REL(ULE, <=)
        UNSIGNED_REL(UGT, >)
        UNSIGNED_REL(UGE, >=)
    L_JZ:
        if (RA == 0) goto jump;
        NEXT();
    L_JNZ:
        if (RA != 0) goto jump;
        NEXT();
    L_JMP:
    jump:
        pc = code + pc->y;
        DISPATCH();
    L_SELECT:
        pc = code + select_target(frames_.back().function->tables[static_cast<uint32_t>(pc->x)], RA);
        DISPATCH();

#define FLOATING(stem, expr_f, expr_d)                                                                                 \
    L_##stem##_F : {                                                                                                   \
        const float b = as_float(RB), c = as_float(RC);                                                                \
        (void)b, (void)c;                                                                                              \
        RA = (expr_f);                                                                                                 \
        NEXT();                                                                                                        \
    }                                                                                                                  \
    L_##stem##_D : {                                                                                                   \
        const double b = as_double(RB), c = as_double(RC);                                                             \
        (void)b, (void)c;                                                                                              \
        RA = (expr_d);                                                                                                 \
        NEXT();                                                                                                        \
    }
#define FLOAT_OP(stem, expr) FLOATING(stem, from_float(expr), from_double(expr))
#define FLOAT_REL(stem, expr) FLOATING(stem, expr, expr)
        FLOAT_OP(FADD, b + c)
        FLOAT_OP(FSUB, b - c)
        FLOAT_OP(FMUL, b * c)
        FLOAT_OP(FDIV, b / c)
        FLOAT_OP(FNEG, -b)
        FLOAT_OP(FABS, std::fabs(b))
        FLOAT_OP(FSQRT, std::sqrt(b))
        FLOAT_REL(FEQ, b == c)
        FLOAT_REL(FNE, b != c)
        FLOAT_REL(FLT, b < c)
        FLOAT_REL(FLE, b <= c)
        FLOAT_REL(FGT, b > c)
        FLOAT_REL(FGE, b >= c)
        FLOAT_REL(FTRUE, b != 0)

        SIMPLE(MOV, RB)
        SIMPLE(MOVI, pc->imm)
        SIMPLE(TO_H, to_H(UB))
        SIMPLE(TO_UH, to_UH(UB))
        SIMPLE(TO_W, to_W(UB))
        SIMPLE(TO_UW, to_UW(UB))
        SIMPLE(TO_BOOL, RB != 0)
        SIMPLE(L_TO_F, from_float(static_cast<float>(RB)))
        SIMPLE(UL_TO_F, from_float(static_cast<float>(UB)))
        SIMPLE(L_TO_D, from_double(static_cast<double>(RB)))
        SIMPLE(UL_TO_D, from_double(static_cast<double>(UB)))
        SIMPLE(F_TO_D, from_double(as_float(RB)))
        SIMPLE(D_TO_F, from_float(static_cast<float>(as_double(RB))))
#define TO_INTEGER(kind, type)                                                                                         \
    L_F_TO_##kind : {                                                                                                  \
        bool cut = false;                                                                                              \
        RA = saturated<type>(as_float(RB), cut);                                                                       \
        if (cut && options.strict) frames_.back().pc = pc, note_saturation();                                          \
        NEXT();                                                                                                        \
    }                                                                                                                  \
    L_D_TO_##kind : {                                                                                                  \
        bool cut = false;                                                                                              \
        RA = saturated<type>(as_double(RB), cut);                                                                      \
        if (cut && options.strict) frames_.back().pc = pc, note_saturation();                                          \
        NEXT();                                                                                                        \
    }
        TO_INTEGER(H, int16_t)
        TO_INTEGER(UH, uint16_t)
        TO_INTEGER(W, int32_t)
        TO_INTEGER(UW, uint32_t)
        TO_INTEGER(L, int64_t)
        TO_INTEGER(UL, uint64_t)

#define EA_B static_cast<ADDRESS>(UB + static_cast<uint64_t>(int64_t{pc->x}))
#define EA_F static_cast<ADDRESS>(frame + static_cast<uint32_t>(pc->x))
#define EA_G static_cast<ADDRESS>(pc->x)
#define SCALED (UC * static_cast<uint64_t>(int64_t{pc->y}))
#define EA_BX static_cast<ADDRESS>(UB + SCALED + static_cast<uint64_t>(int64_t{pc->x}))
#define EA_FX static_cast<ADDRESS>(frame + SCALED + static_cast<uint64_t>(int64_t{pc->x}))
#define EA_GX static_cast<ADDRESS>(SCALED + static_cast<uint64_t>(int64_t{pc->x}))
#define LOAD(kind, form, type, n)                                                                                      \
    L_LD_##kind##_##form : {                                                                                           \
        const ADDRESS at = EA_##form;                                                                                  \
        if (__builtin_expect(at >= MEMORY::limit || !written(S + at, n), 0)) mem.bad_read(at, n);                      \
        type v;                                                                                                        \
        memcpy(&v, U + at, sizeof v);                                                                                  \
        RA = static_cast<int64_t>(v);                                                                                  \
        NEXT();                                                                                                        \
    }
#define STORE(kind, form, type, n)                                                                                     \
    L_ST_##kind##_##form : {                                                                                           \
        const ADDRESS at = EA_##form;                                                                                  \
        if (__builtin_expect(at >= MEMORY::limit || !writable(S + at, n), 0)) mem.bad_write(at, n);                    \
        const type v = static_cast<type>(RA);                                                                          \
        memcpy(U + at, &v, sizeof v);                                                                                  \
        memset(S + at, UNIT_VALUE, n);                                                                                 \
        NEXT();                                                                                                        \
    }
#define ACCESS(form)                                                                                                   \
    LOAD(H, form, int16_t, 1)                                                                                          \
    LOAD(UH, form, uint16_t, 1)                                                                                        \
    LOAD(W, form, int32_t, 2)                                                                                          \
    LOAD(UW, form, uint32_t, 2)                                                                                        \
    LOAD(L, form, int64_t, 4)                                                                                          \
    STORE(H, form, uint16_t, 1)                                                                                        \
    STORE(W, form, uint32_t, 2)                                                                                        \
    STORE(L, form, uint64_t, 4)                                                                                        \
    SIMPLE(LEA_##form, EA_##form)
        ACCESS(B)
        ACCESS(F)
        ACCESS(G)
        ACCESS(BX)
        ACCESS(FX)
        ACCESS(GX)
    L_LD_BITS:
        RA = load_bits(mem, static_cast<ADDRESS>(RB), static_cast<uint32_t>(pc->x), pc->y & 0xFF, (pc->y & 0x100) != 0);
        NEXT();
    L_ST_BITS:
        store_bits(mem, static_cast<ADDRESS>(RB), static_cast<uint32_t>(pc->x), pc->y & 0xFF, RA);
        NEXT();
    L_COPY:
        mem.copy(static_cast<ADDRESS>(RA), static_cast<ADDRESS>(RB), IMM);
        NEXT();
    L_COPY_N:
        mem.copy(static_cast<ADDRESS>(RA), static_cast<ADDRESS>(RB), UC);
        dynamic_.n[C_loads] += (UC + 1) / 2;
        dynamic_.n[C_stores] += (UC + 1) / 2;
        NEXT();
    L_SWAP:
        swap_blocks(mem, static_cast<ADDRESS>(RA), static_cast<ADDRESS>(RB), static_cast<uint32_t>(IMM));
        NEXT();
    L_SET_STATE:
        memset(S + frame + static_cast<uint32_t>(pc->x), pc->a, static_cast<uint32_t>(pc->y));
        NEXT();

    L_CALL_F : {
        const FUNCTION* f = program.functions[static_cast<uint32_t>(pc->x)].get();
        frames_.back().pc = pc;
        R += pc->a;
        enter(f, R);
        frame = frames_.back().memory;
        pc = code = f->code.data();
        DISPATCH();
    }
    L_CALL_LIB:
        frames_.back().pc = pc;
        program.functions[static_cast<uint32_t>(pc->x)]->handler(*this, R + pc->a);
        NEXT();
    L_CALL_PTR : {
        frames_.back().pc = pc;
        const FUNCTION* f = callee_of(RB, program.signatures[static_cast<uint32_t>(pc->x)], R + pc->a);
        if (f->handler != nullptr) {
            f->handler(*this, R + pc->a);
            NEXT();
        }
        R += pc->a;
        enter(f, R);
        frame = frames_.back().memory;
        pc = code = f->code.data();
        DISPATCH();
    }
    L_RET:
        R[0] = RA;
    L_RET_VOID : {
        const FRAME& done = frames_.back();
        if (done.function->frame_units != 0) {
            memory_top_ = done.memory;
            memset(S + memory_top_, UNIT_FREE, done.function->frame_units);
        }
        frames_.pop_back();
        if (frames_.size() == bottom) {
            --host_depth_;
            return;
        }
        const FRAME& caller = frames_.back();
        R = caller.slots;
        frame = caller.memory;
        code = caller.function->code.data();
        pc = caller.pc;
        NEXT();
    }

    L_BLOCK_STEPS:
        if ((steps_left_ -= pc->y) < 0) trap("step limit reached");
    L_BLOCK:
        ++entered[static_cast<uint32_t>(pc->x)];
        NEXT();
    L_CHECK:
        if (__builtin_expect(RA == 0, 0)) {
            if (program.reads_ahead) {
                R[pc->y] = undefined_value;
                NEXT();
            }
            trap("read of an undefined value, local '" + program.texts[static_cast<uint32_t>(pc->x)] + "'");
        }
        NEXT();
    L_STOP:
        trap(program.texts[static_cast<uint32_t>(pc->x)]);
    } catch (const TRAP& t) {
        // A trap inside enter() belongs to the call, whose frame is on top then.
        if (!frames_.empty() && frames_.back().slots == R && frames_.back().function->code.data() == code)
            frames_.back().pc = pc;
        raise(t);
    } catch (const LONG_JUMP& jump) {
        if (jump.frame < bottom) {
            --host_depth_;
            throw;
        }
        pc = return_to(jump);
        R = frames_.back().slots;
        frame = frames_.back().memory;
        code = frames_.back().function->code.data();
        RA = jump.value;
        ++pc;
        goto resumed;
    }
}

// ----------------------------------------------------------------------------------------------------------- jumps

// What stands in the program's memory: the number of the activation, its depth, the call's place in the code, and the
// end of the stack.
void VM::mark_place(ADDRESS env) {
    if (frames_.empty()) trap("setjmp outside every function");
    FRAME& frame = frames_.back();
    if (frame.mark == 0) frame.mark = ++marks_;
    mem.write_n(env, frame.mark, 2);
    mem.write_n(env + 2, static_cast<uint32_t>(frames_.size() - 1), 2);
    mem.write_n(env + 4, static_cast<uint32_t>(frame.pc - frame.function->code.data()), 2);
    mem.write_n(env + 6, memory_top_, 2);
}

void VM::jump_to_place(ADDRESS env, int64_t value) {
    uint32_t mark = mem.read32(env), depth = mem.read32(env + 2), pc = mem.read32(env + 4), top = mem.read32(env + 6);
    const FRAME* frame = depth < frames_.size() ? &frames_[depth] : nullptr;
    bool is_call = frame != nullptr && pc < frame->function->code.size() &&
                   (frame->function->code[pc].op == B_CALL_LIB || frame->function->code[pc].op == B_CALL_PTR);
    if (!is_call || mark == 0 || frame->mark != mark || top < frame->memory + frame->function->frame_units ||
        top > memory_top_)
        trap("longjmp to a function that is not running any more, or without setjmp");
    throw LONG_JUMP{depth, pc, top, value};
}

// Gives up the activations above the one to return to.
const INSN* VM::return_to(const LONG_JUMP& jump) {
    memset(mem.state + jump.top, UNIT_FREE, memory_top_ - jump.top);
    memory_top_ = jump.top;
    frames_.erase(frames_.begin() + static_cast<std::ptrdiff_t>(jump.frame) + 1, frames_.end());
    return frames_.back().function->code.data() + jump.pc;
}

// ------------------------------------------------------------------------------------------------- calls and traps

// The function behind an address, its arguments brought to what it expects.
const FUNCTION* VM::callee_of(int64_t address, const SIGNATURE& as, int64_t* args) {
    uint64_t offset = static_cast<uint64_t>(address) - MEMORY::function_base;
    if (address == 0) trap("call through a null pointer");
    if (offset % MEMORY::function_step != 0 || offset / MEMORY::function_step >= program.functions.size())
        trap("call through " + mem.place(static_cast<ADDRESS>(address)) + ", which is no function's address");
    const FUNCTION* f = program.functions[offset / MEMORY::function_step].get();
    if (!f->defined && f->handler == nullptr) trap("call of undefined function '" + f->name + "'");
    if (f->signature == as) return f;
    const SIGNATURE& wanted = f->signature;
    auto alike = [](VKIND a, VKIND b) {
        return a == b || (is_integer_kind(a) && is_integer_kind(b) && units_of_kind(a) == units_of_kind(b));
    };
    bool fits = wanted.variadic == as.variadic && wanted.params.size() == as.params.size() &&
                (as.result == V_VOID ? wanted.result != V_BLOCK : alike(as.result, wanted.result)) &&
                as.result_units == wanted.result_units && wanted.param_units == as.param_units;
    for (size_t i = 0; fits && i < as.params.size(); ++i) {
        fits = alike(as.params[i], wanted.params[i]);
        uint64_t v = static_cast<uint64_t>(args[i]);
        switch (wanted.params[i]) {
        case V_H: args[i] = to_H(v); break;
        case V_UH: args[i] = to_UH(v); break;
        case V_W: args[i] = to_W(v); break;
        case V_UW: args[i] = to_UW(v); break;
        default: break;
        }
    }
    if (!fits) trap("call of '" + f->name + "' through a pointer to another type of function");
    return f;
}

int64_t VM::call_back(ADDRESS function, const SIGNATURE& as, std::initializer_list<int64_t> args) {
    // The running function's slots end where its frame ends; the callee's begin behind them. At the end of the program
    // a library function may run without one.
    int64_t* slots = frames_.empty() ? slots_ : frames_.back().slots + frames_.back().function->slots;
    if (slots + args.size() + 1 > slots_ + slot_limit) trap("stack overflow");
    std::copy(args.begin(), args.end(), slots);
    const FUNCTION* f = callee_of(function, as, slots);
    if (f->handler != nullptr)
        f->handler(*this, slots);
    else
        run(f, slots);
    return slots[0];
}

std::string VM::position_text(const FRAME& frame) const {
    const FUNCTION* f = frame.function;
    size_t at = static_cast<size_t>(frame.pc - f->code.data());
    SOURCE_POSITION p = at < f->position_of.size() ? f->positions[f->position_of[at]] : SOURCE_POSITION{};
    if (p.file == nullptr) return "unknown position";
    return std::string(p.file) + ":" + std::to_string(p.line) + ":" + std::to_string(p.column);
}

void VM::raise(const TRAP& t) {
    std::string text;
    constexpr size_t shown = 8;
    for (size_t i = frames_.size(), n = 0; i-- > 0 && n < shown; ++n) {
        const FRAME& f = frames_[i];
        if (n == 0)
            text = position_text(f) + ": in function '" + f.function->name + "': " + t.cause;
        else
            text += "\n  called from " + position_text(f) + ", function '" + f.function->name + "'";
    }
    if (frames_.size() > shown) text += "\n  and " + std::to_string(frames_.size() - shown) + " more";
    throw TRAPPED{frames_.empty() ? t.cause : text};
}

void VM::note_saturation() {
    constexpr int most = 20;
    if (++notes_ > most) return;
    std::string text = "nxrun: " + position_text(frames_.back()) + ": in function '" + frames_.back().function->name +
                       "': conversion of a floating value that does not fit\n";
    write(2, text.data(), text.size());
}

// ------------------------------------------------------------------------------------------------------- whole runs

ADDRESS VM::place_arguments(const std::vector<std::string>& args) {
    std::vector<ADDRESS> pointers;
    for (const std::string& arg : args) {
        ADDRESS at = mem.alloc(arg.size() + 1);
        if (at == 0) trap("no memory for the arguments");
        for (size_t i = 0; i <= arg.size(); ++i)
            mem.write16(ADDRESS(at + i), i < arg.size() ? static_cast<unsigned char>(arg[i]) : 0);
        pointers.push_back(at);
    }
    pointers.push_back(0);
    ADDRESS table = mem.alloc(pointers.size() * 2);
    if (table == 0) trap("no memory for the arguments");
    for (size_t i = 0; i < pointers.size(); ++i) mem.write_n(ADDRESS(table + 2 * i), pointers[i], 2);
    return table;
}

int VM::run_main(const std::vector<std::string>& args) {
    int status = 0;
    try {
        try {
            size_t wanted = program.main->signature.params.size();
            slots_[0] = static_cast<int64_t>(args.size());
            slots_[1] = wanted > 1 ? place_arguments(args) : 0;
            slots_[2] = wanted > 2 ? place_arguments(options.library.environment) : 0;
            run(program.main, slots_);
            status = program.main->signature.result == V_VOID ? 0 : static_cast<int>(slots_[0]);
        } catch (const PROGRAM_EXIT& e) { status = e.status; }
        // Functions registered last run first; one of them may register more, or call exit itself.
        std::vector<ADDRESS>& at_exit = library->at_exit;
        while (!at_exit.empty()) {
            ADDRESS f = at_exit.back();
            at_exit.pop_back();
            frames_.clear();
            memory_top_ = mem.stack_begin();
            host_depth_ = 0;
            try {
                const FUNCTION* function = callee_of(f, SIGNATURE{}, slots_);
                if (function->handler != nullptr)
                    function->handler(*this, slots_);
                else
                    run(function, slots_);
            } catch (const PROGRAM_EXIT& e) { status = e.status; }
        }
    } catch (...) {
        flush();
        throw;
    }
    flush();
    return status & 0xFF;
}

COUNTS VM::counts() const {
    COUNTS sum = dynamic_;
    for (size_t i = 0; i < entered_.size(); ++i) sum.add(program.blocks[i], entered_[i]);
    return sum;
}

// ------------------------------------------------------------------------------------------------- standard streams

void VM::write(int stream, const char* text, size_t n) {
    constexpr size_t piece = 1 << 16;
    if (stream == 2) {
        flush();
        on_output(2, text, n);
        return;
    }
    output_.append(text, n);
    if (output_.size() >= piece) flush();
}

void VM::flush() {
    if (output_.empty()) return;
    std::string text;
    text.swap(output_);
    on_output(1, text.data(), text.size());
}
