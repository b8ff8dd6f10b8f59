// Library functions of stdlib.h, time.h and assert.h.
#include "exec.h"
#include "library.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>

namespace {

constexpr int status_of_abort = 134; // what a shell shows for a process that aborted

ADDRESS at(int64_t slot) { return static_cast<ADDRESS>(slot); }
void set_errno(VM& vm, int number) {
    if (vm.program.errno_object != 0) vm.mem.write_n(vm.program.errno_object, static_cast<uint32_t>(number), 2);
}

} // namespace

// ------------------------------------------------------------------------------------------------------------ memory

void lib_malloc(VM& vm, int64_t* a) { a[0] = vm.mem.alloc(static_cast<uint32_t>(a[0])); }
void lib_calloc(VM& vm, int64_t* a) {
    uint64_t n = static_cast<uint64_t>(static_cast<uint32_t>(a[0])) * static_cast<uint32_t>(a[1]);
    ADDRESS block = vm.mem.alloc(n);
    if (block != 0) {
        std::fill_n(vm.mem.units + block, n, uint16_t{0});
        vm.mem.set_state(block, static_cast<uint32_t>(n), UNIT_VALUE);
    }
    a[0] = block;
}
void lib_realloc(VM& vm, int64_t* a) {
    uint32_t size = static_cast<uint32_t>(a[1]);
    ADDRESS old = at(a[0]);
    uint32_t old_size = old != 0 ? vm.mem.block_size(old) : 0;
    ADDRESS block = vm.mem.alloc(size);
    if (block != 0 && old != 0) {
        vm.mem.copy(block, old, std::min(size, old_size));
        vm.mem.release(old);
    }
    a[0] = block;
}
void lib_free(VM& vm, int64_t* a) { vm.mem.release(at(a[0])); }

// ------------------------------------------------------------------------------------------------------------ ending

void lib_exit(VM&, int64_t* a) { throw PROGRAM_EXIT{static_cast<int>(a[0])}; }
void lib__Exit(VM& vm, int64_t* a) {
    vm.at_exit.clear();
    throw PROGRAM_EXIT{static_cast<int>(a[0])};
}
void lib_abort(VM& vm, int64_t*) {
    vm.at_exit.clear();
    throw PROGRAM_EXIT{status_of_abort};
}
void lib_atexit(VM& vm, int64_t* a) {
    constexpr size_t most = 1024;
    bool room = vm.at_exit.size() < most;
    if (room) vm.at_exit.push_back(at(a[0]));
    a[0] = room ? 0 : 1;
}
// (expression, file, line, function)
void lib___assert_fail(VM& vm, int64_t* a) {
    std::string text = vm.mem.read_text(at(a[1])) + ":" + std::to_string(static_cast<int32_t>(a[2])) + ": ";
    if (a[3] != 0) text += vm.mem.read_text(at(a[3])) + ": ";
    text += "Assertion `" + vm.mem.read_text(at(a[0])) + "' failed.\n";
    vm.write(2, text.data(), text.size());
    lib_abort(vm, a);
}
void lib_getenv(VM&, int64_t* a) { a[0] = 0; } // the program's result must not depend on the environment
void lib_system(VM&, int64_t* a) { a[0] = a[0] == 0 ? 0 : -1; } // there is no command processor
void lib_time(VM& vm, int64_t* a) {
    if (a[0] != 0) vm.mem.write_n(at(a[0]), 0, 2);
    a[0] = 0;
}
void lib_clock(VM&, int64_t* a) { a[0] = 0; }

// ----------------------------------------------------------------------------------------------------------- numbers

void lib_abs(VM&, int64_t* a) { a[0] = static_cast<int32_t>(a[0] < 0 ? -a[0] : a[0]); }
void lib_labs(VM& vm, int64_t* a) { lib_abs(vm, a); }
void lib_llabs(VM&, int64_t* a) { a[0] = a[0] < 0 ? static_cast<int64_t>(-static_cast<uint64_t>(a[0])) : a[0]; }

void lib_div(VM& vm, int64_t* a) {
    if (a[1] == 0) trap("division by zero");
    vm.mem.write_n(at(a[2]), static_cast<uint32_t>(a[0] / a[1]), 2);
    vm.mem.write_n(at(a[2]) + 2, static_cast<uint32_t>(a[0] % a[1]), 2);
}
void lib_ldiv(VM& vm, int64_t* a) { lib_div(vm, a); }
void lib_lldiv(VM& vm, int64_t* a) {
    if (a[1] == 0) trap("division by zero");
    bool wraps = a[1] == -1;
    vm.mem.write_n(at(a[2]), wraps ? -static_cast<uint64_t>(a[0]) : static_cast<uint64_t>(a[0] / a[1]), 4);
    vm.mem.write_n(at(a[2]) + 4, wraps ? 0 : static_cast<uint64_t>(a[0] % a[1]), 4);
}

namespace {

bool is_space(uint16_t c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
int digit_value(uint16_t c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    return 99;
}

struct PARSED {
    uint64_t magnitude = 0;
    bool negative = false;
    bool overflow = false; // of 64 bits
    ADDRESS end = 0;       // the text itself if there is no number
};

PARSED parse_integer(MEMORY& m, ADDRESS text, int base) {
    PARSED r;
    r.end = text;
    ADDRESS p = text;
    while (is_space(m.read16(p))) ++p;
    if (uint16_t c = m.read16(p); c == '+' || c == '-') r.negative = c == '-', ++p;
    bool hex_prefix = (base == 0 || base == 16) && m.read16(p) == '0' && (m.read16(p + 1) | 32) == 'x' &&
                      digit_value(m.read16(p + 2)) < 16;
    if (hex_prefix) {
        base = 16;
        p += 2;
    } else if (base == 0) {
        base = m.read16(p) == '0' ? 8 : 10;
    }
    for (;; ++p) {
        int v = digit_value(m.read16(p));
        if (v >= base) return r;
        unsigned __int128 next =
            static_cast<unsigned __int128>(r.magnitude) * static_cast<unsigned>(base) + static_cast<unsigned>(v);
        if (next > UINT64_MAX) r.overflow = true;
        r.magnitude = static_cast<uint64_t>(next);
        r.end = p + 1;
    }
}

// Held within the range as the standard says.
int64_t as_signed(VM& vm, const PARSED& p, int64_t low, int64_t high) {
    uint64_t most = p.negative ? static_cast<uint64_t>(-(low + 1)) + 1 : static_cast<uint64_t>(high);
    if (p.overflow || p.magnitude > most) {
        set_errno(vm, ERANGE);
        return p.negative ? low : high;
    }
    return static_cast<int64_t>(p.negative ? -p.magnitude : p.magnitude);
}
uint64_t as_unsigned(VM& vm, const PARSED& p, uint64_t high) {
    if (p.overflow || p.magnitude > high) {
        set_errno(vm, ERANGE);
        return high;
    }
    return (p.negative ? -p.magnitude : p.magnitude) & high;
}
PARSED parse_argument(VM& vm, int64_t* a) {
    PARSED p = parse_integer(vm.mem, at(a[0]), static_cast<int>(a[2]));
    if (a[1] != 0) vm.mem.write_n(at(a[1]), p.end, 2);
    return p;
}

double parse_double(VM& vm, ADDRESS text, ADDRESS& end) {
    // The characters that a number can be made of; strtod finds the end of the number among them.
    std::string copy;
    constexpr size_t most = 4096;
    for (ADDRESS p = text; copy.size() < most; ++p) {
        uint16_t c = vm.mem.read16(p);
        if (c == 0 || c > 127) break;
        copy += static_cast<char>(c);
    }
    char* stop = nullptr;
    errno = 0;
    double v = strtod(copy.c_str(), &stop);
    if (errno == ERANGE) set_errno(vm, ERANGE);
    end = text + static_cast<ADDRESS>(stop - copy.c_str());
    return v;
}

} // namespace

void lib_atoi(VM& vm, int64_t* a) {
    PARSED p = parse_integer(vm.mem, at(a[0]), 10);
    a[0] = static_cast<int32_t>(p.negative ? -p.magnitude : p.magnitude);
}
void lib_atol(VM& vm, int64_t* a) { lib_atoi(vm, a); }
void lib_atoll(VM& vm, int64_t* a) { a[0] = as_signed(vm, parse_integer(vm.mem, at(a[0]), 10), INT64_MIN, INT64_MAX); }
void lib_strtol(VM& vm, int64_t* a) { a[0] = as_signed(vm, parse_argument(vm, a), INT32_MIN, INT32_MAX); }
void lib_strtoul(VM& vm, int64_t* a) {
    a[0] = static_cast<int64_t>(as_unsigned(vm, parse_argument(vm, a), UINT32_MAX));
}
void lib_strtoll(VM& vm, int64_t* a) { a[0] = as_signed(vm, parse_argument(vm, a), INT64_MIN, INT64_MAX); }
void lib_strtoull(VM& vm, int64_t* a) {
    a[0] = static_cast<int64_t>(as_unsigned(vm, parse_argument(vm, a), UINT64_MAX));
}
void lib_atof(VM& vm, int64_t* a) {
    ADDRESS end;
    a[0] = std::bit_cast<int64_t>(parse_double(vm, at(a[0]), end));
}
void lib_strtod(VM& vm, int64_t* a) {
    ADDRESS end;
    double v = parse_double(vm, at(a[0]), end);
    if (a[1] != 0) vm.mem.write_n(at(a[1]), end, 2);
    a[0] = std::bit_cast<int64_t>(v);
}
void lib_strtof(VM& vm, int64_t* a) {
    lib_strtod(vm, a);
    a[0] = std::bit_cast<uint32_t>(static_cast<float>(std::bit_cast<double>(a[0])));
}

// A fixed generator, so that a program prints the same everywhere. RAND_MAX is 32767.
void lib_rand(VM& vm, int64_t* a) {
    vm.random_state = vm.random_state * 1103515245u + 12345u;
    a[0] = (vm.random_state >> 16) & 0x7FFF;
}
void lib_srand(VM& vm, int64_t* a) { vm.random_state = static_cast<uint32_t>(a[0]); }

// ----------------------------------------------------------------------------------------------------- sort and search

int call_comparison(VM& vm, ADDRESS function, ADDRESS a, ADDRESS b) {
    static const SIGNATURE signature = [] {
        SIGNATURE s;
        s.result = V_W;
        s.params = {V_UW, V_UW};
        s.param_units = {0, 0};
        return s;
    }();
    return static_cast<int>(vm.call_back(function, signature, {a, b}));
}

namespace {

void swap_elements(MEMORY& m, ADDRESS a, ADDRESS b, uint32_t size) {
    for (uint32_t i = 0; i < size; ++i) {
        std::swap(m.units[a + i], m.units[b + i]);
        std::swap(m.state[a + i], m.state[b + i]);
    }
}

void sift_down(VM& vm, ADDRESS base, uint32_t size, ADDRESS compare, uint32_t root, uint32_t n) {
    for (;;) {
        uint64_t child = uint64_t{root} * 2 + 1;
        if (child >= n) return;
        ADDRESS c = base + static_cast<ADDRESS>(child) * size;
        if (child + 1 < n && call_comparison(vm, compare, c, c + size) < 0) ++child, c += size;
        ADDRESS r = base + root * size;
        if (call_comparison(vm, compare, r, c) >= 0) return;
        swap_elements(vm.mem, r, c, size);
        root = static_cast<uint32_t>(child);
    }
}

} // namespace

// Insertion sort for a few elements, else heap sort: never quadratic on long input, and no room needed.
void lib_qsort(VM& vm, int64_t* a) {
    constexpr uint32_t few = 12;
    ADDRESS base = at(a[0]), compare = at(a[3]);
    uint32_t n = static_cast<uint32_t>(a[1]), size = static_cast<uint32_t>(a[2]);
    if (n < 2 || size == 0) return;
    if (uint64_t{n} * size >= MEMORY::limit) vm.mem.bad_write(base, 1);
    vm.mem.check_write(base, n * size);
    if (n <= few) {
        for (uint32_t i = 1; i < n; ++i)
            for (uint32_t j = i; j > 0; --j) {
                ADDRESS upper = base + j * size;
                if (call_comparison(vm, compare, upper - size, upper) <= 0) break;
                swap_elements(vm.mem, upper - size, upper, size);
            }
        return;
    }
    for (uint32_t root = n / 2; root-- > 0;) sift_down(vm, base, size, compare, root, n);
    for (uint32_t last = n - 1; last > 0; --last) {
        swap_elements(vm.mem, base, base + last * size, size);
        sift_down(vm, base, size, compare, 0, last);
    }
}

void lib_bsearch(VM& vm, int64_t* a) {
    ADDRESS key = at(a[0]), base = at(a[1]), compare = at(a[4]);
    uint32_t low = 0, high = static_cast<uint32_t>(a[2]), size = static_cast<uint32_t>(a[3]);
    while (low < high) {
        uint32_t middle = low + (high - low) / 2;
        ADDRESS element = base + middle * size;
        int order = call_comparison(vm, compare, key, element);
        if (order == 0) {
            a[0] = element;
            return;
        }
        if (order < 0)
            high = middle;
        else
            low = middle + 1;
    }
    a[0] = 0;
}
