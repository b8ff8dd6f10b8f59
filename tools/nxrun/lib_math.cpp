// Library functions of math.h: those of the machine that runs the interpreter. errno is what the host's function gave.
#include "exec.h"
#include "library.h"

#include <bit>
#include <cerrno>
#include <cmath>

namespace {

double d(int64_t slot) { return std::bit_cast<double>(slot); }
float f(int64_t slot) { return std::bit_cast<float>(static_cast<uint32_t>(slot)); }
int64_t slot_of(double v) { return std::bit_cast<int64_t>(v); }
int64_t slot_of(float v) { return std::bit_cast<uint32_t>(v); }
int64_t slot_of(int v) { return v; }
int64_t slot_of(long long v) { return v; }

// The result of a function of the host.
template <typename CALL> void give(VM& vm, int64_t* a, CALL&& call) {
    errno = 0;
    a[0] = slot_of(call());
    if (errno != 0) set_errno(vm, errno);
}

// A whole number as a 32-bit long; what does not fit is the most negative one, as the host does with its own long.
int narrow(VM& vm, long long v) {
    if (v == static_cast<int32_t>(v)) return static_cast<int>(v);
    set_errno(vm, EDOM);
    return INT32_MIN;
}

void store(VM& vm, int64_t slot, int v) { vm.mem.write_n(address_of(slot), static_cast<uint32_t>(v), 2); }
void store(VM& vm, int64_t slot, double v) { vm.mem.write_n(address_of(slot), std::bit_cast<uint64_t>(v), 4); }
void store(VM& vm, int64_t slot, float v) { vm.mem.write_n(address_of(slot), std::bit_cast<uint32_t>(v), 2); }

} // namespace

// The table's own functions of one and two floating values.
#define LIB(name, signature)
#define LIB_MATH(name, of_double, of_float)
#define LIB_MATH1(name)                                                                                                \
    void lib_##name(VM& vm, int64_t* a) {                                                                              \
        give(vm, a, [a] { return std::name(d(a[0])); });                                                               \
    }                                                                                                                  \
    void lib_##name##f(VM& vm, int64_t* a) {                                                                           \
        give(vm, a, [a] { return std::name(f(a[0])); });                                                               \
    }
#define LIB_MATH2(name)                                                                                                \
    void lib_##name(VM& vm, int64_t* a) {                                                                              \
        give(vm, a, [a] { return std::name(d(a[0]), d(a[1])); });                                                      \
    }                                                                                                                  \
    void lib_##name##f(VM& vm, int64_t* a) {                                                                           \
        give(vm, a, [a] { return std::name(f(a[0]), f(a[1])); });                                                      \
    }
#include "library.def"

// The others: `v` reads the first slot as double or float.
#define BOTH(name, statements)                                                                                         \
    void lib_##name(VM& vm, int64_t* a) {                                                                              \
        [[maybe_unused]] constexpr auto v = d;                                                                         \
        statements                                                                                                     \
    }                                                                                                                  \
    void lib_##name##f(VM& vm, int64_t* a) {                                                                           \
        [[maybe_unused]] constexpr auto v = f;                                                                         \
        statements                                                                                                     \
    }
BOTH(ldexp, give(vm, a, [&] { return std::ldexp(v(a[0]), static_cast<int>(a[1])); });)
BOTH(fma, give(vm, a, [&] { return std::fma(v(a[0]), v(a[1]), v(a[2])); });)
BOTH(nexttoward, give(vm, a, [&] { return std::nexttoward(v(a[0]), static_cast<long double>(d(a[1]))); });)
BOTH(lrint, give(vm, a, [&] { return narrow(vm, std::llrint(v(a[0]))); });)
BOTH(lround, give(vm, a, [&] { return narrow(vm, std::llround(v(a[0]))); });)
BOTH(llrint, give(vm, a, [&] { return std::llrint(v(a[0])); });)
BOTH(llround, give(vm, a, [&] { return std::llround(v(a[0])); });)
BOTH(ilogb, give(vm, a, [&] { return std::ilogb(v(a[0])); });)
BOTH(frexp, int exponent = 0; auto x = std::frexp(v(a[0]), &exponent); store(vm, a[1], exponent); a[0] = slot_of(x);)
BOTH(modf, auto x = v(a[0]); auto whole = x; x = std::modf(x, &whole); store(vm, a[1], whole); a[0] = slot_of(x);)
BOTH(remquo, int quotient = 0; auto x = std::remquo(v(a[0]), v(a[1]), &quotient); store(vm, a[2], quotient);
     a[0] = slot_of(x);)

void lib_nan(VM& vm, int64_t* a) { a[0] = slot_of(std::nan(vm.mem.read_text(address_of(a[0])).c_str())); }
void lib_nanf(VM& vm, int64_t* a) { a[0] = slot_of(std::nanf(vm.mem.read_text(address_of(a[0])).c_str())); }
