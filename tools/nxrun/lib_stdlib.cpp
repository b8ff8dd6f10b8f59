// Library functions of stdlib.h: memory, numbers, sorting. Those that end or leave the program stand in lib_control.
#include "exec.h"
#include "float_text.h"
#include "library.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>

namespace {

ADDRESS at(int64_t slot) { return address_of(slot); }

} // namespace

// ------------------------------------------------------------------------------------------------------------ memory

namespace {

ADDRESS allocate(VM& vm, uint64_t units) {
    ADDRESS block = vm.mem.alloc(units);
    if (block == 0) set_errno(vm, ENOMEM);
    return block;
}

} // namespace

void lib_malloc(VM& vm, int64_t* a) { a[0] = allocate(vm, static_cast<uint32_t>(a[0])); }
// A block is aligned as the largest scalar; for more there is no room.
void lib_aligned_alloc(VM& vm, int64_t* a) {
    constexpr int64_t most = 4;
    if (a[0] <= 0 || a[0] > most || (a[0] & (a[0] - 1)) != 0) {
        set_errno(vm, EINVAL);
        a[0] = 0;
        return;
    }
    a[0] = allocate(vm, static_cast<uint32_t>(a[1]));
}
void lib_calloc(VM& vm, int64_t* a) {
    uint64_t n = static_cast<uint64_t>(static_cast<uint32_t>(a[0])) * static_cast<uint32_t>(a[1]);
    ADDRESS block = allocate(vm, n);
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
    ADDRESS block = allocate(vm, size);
    if (block != 0 && old != 0) {
        vm.mem.copy(block, old, std::min(size, old_size));
        vm.mem.release(old);
    }
    a[0] = block;
}
void lib_free(VM& vm, int64_t* a) { vm.mem.release(at(a[0])); }

// ----------------------------------------------------------------------------------------------------------- numbers

void lib_abs(VM&, int64_t* a) { a[0] = static_cast<int32_t>(a[0] < 0 ? -a[0] : a[0]); }
void lib_llabs(VM&, int64_t* a) { a[0] = a[0] < 0 ? static_cast<int64_t>(-static_cast<uint64_t>(a[0])) : a[0]; }

void lib_div(VM& vm, int64_t* a) {
    if (a[1] == 0) trap("division by zero");
    vm.mem.write_n(at(a[2]), static_cast<uint32_t>(a[0] / a[1]), 2);
    vm.mem.write_n(at(a[2]) + 2, static_cast<uint32_t>(a[0] % a[1]), 2);
}
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

// What `convert` makes of the number at the begin of the text. No character behind the number is looked at but one.
template <typename T> T parse_float(VM& vm, ADDRESS text, ADDRESS& end, T (*convert)(const char*, char**)) {
    ADDRESS begin = text;
    while (is_space(vm.mem.read16(begin))) ++begin;
    FLOAT_TEXT number;
    for (ADDRESS p = begin; number.take(vm.mem.read16(p)); ++p) {}
    char* stop = nullptr;
    errno = 0;
    T v = convert(number.text().c_str(), &stop);
    if (errno == ERANGE) set_errno(vm, ERANGE);
    ptrdiff_t length = stop - number.text().c_str();
    end = length != 0 ? begin + static_cast<ADDRESS>(length) : text;
    return v;
}

} // namespace

void lib_atoi(VM& vm, int64_t* a) {
    PARSED p = parse_integer(vm.mem, at(a[0]), 10);
    a[0] = static_cast<int32_t>(p.negative ? -p.magnitude : p.magnitude);
}
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
    a[0] = std::bit_cast<int64_t>(parse_float(vm, at(a[0]), end, strtod));
}
void lib_strtod(VM& vm, int64_t* a) {
    ADDRESS end;
    double v = parse_float(vm, at(a[0]), end, strtod);
    if (a[1] != 0) vm.mem.write_n(at(a[1]), end, 2);
    a[0] = std::bit_cast<int64_t>(v);
}
void lib_strtof(VM& vm, int64_t* a) {
    ADDRESS end;
    float v = parse_float(vm, at(a[0]), end, strtof);
    if (a[1] != 0) vm.mem.write_n(at(a[1]), end, 2);
    a[0] = std::bit_cast<uint32_t>(v);
}

// A character of more than one byte does not exist: each is one unit, and the same as a wide one.
void lib_mblen(VM& vm, int64_t* a) {
    if (a[0] != 0) a[0] = a[1] == 0 ? -1 : vm.mem.read16(at(a[0])) != 0;
}
void lib_mbtowc(VM& vm, int64_t* a) {
    if (a[1] == 0 || a[2] == 0) {
        a[0] = a[1] == 0 ? 0 : -1;
        return;
    }
    uint16_t c = vm.mem.read16(at(a[1]));
    if (a[0] != 0) vm.mem.write16(at(a[0]), c);
    a[0] = c != 0;
}
void lib_wctomb(VM& vm, int64_t* a) {
    if (a[0] == 0) return;
    vm.mem.write16(at(a[0]), static_cast<uint16_t>(a[1]));
    a[0] = 1;
}
void lib_mbstowcs(VM& vm, int64_t* a) {
    uint32_t n = 0;
    for (uint32_t room = a[0] != 0 ? static_cast<uint32_t>(a[2]) : UINT32_MAX; n < room; ++n) {
        uint16_t c = vm.mem.read16(at(a[1]) + n);
        if (a[0] != 0) vm.mem.write16(at(a[0]) + n, c);
        if (c == 0) break;
    }
    a[0] = n;
}

// A fixed generator, so that a program prints the same everywhere. RAND_MAX is 32767.
void lib_rand(VM& vm, int64_t* a) {
    vm.library->random_state = vm.library->random_state * 1103515245u + 12345u;
    a[0] = (vm.library->random_state >> 16) & 0x7FFF;
}
void lib_srand(VM& vm, int64_t* a) { vm.library->random_state = static_cast<uint32_t>(a[0]); }

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

// The order in which elements shall stand: stable, so that what compares equal keeps its order.
class SORTER {
  public:
    SORTER(VM& vm, ADDRESS base, uint32_t count, uint32_t size, ADDRESS compare)
        : vm_(vm), base_(base), size_(size), compare_(compare), order_(count), half_(count) {
        for (uint32_t i = 0; i < count; ++i) order_[i] = i;
    }
    std::vector<uint32_t> order() {
        sort(0, static_cast<uint32_t>(order_.size()));
        return std::move(order_);
    }

  private:
    // Merge sort. A comparison that contradicts itself gives some order, and no worse.
    void sort(uint32_t begin, uint32_t end) {
        if (end - begin < 2) return;
        uint32_t middle = begin + (end - begin) / 2;
        sort(begin, middle);
        sort(middle, end);
        std::copy(order_.begin() + begin, order_.begin() + middle, half_.begin());
        uint32_t left = 0, left_end = middle - begin, right = middle, to = begin;
        while (left < left_end && right < end)
            order_[to++] = comes_first(half_[left], order_[right]) ? half_[left++] : order_[right++];
        while (left < left_end) order_[to++] = half_[left++];
    }
    bool comes_first(uint32_t a, uint32_t b) {
        return call_comparison(vm_, compare_, base_ + a * size_, base_ + b * size_) <= 0;
    }

    VM& vm_;
    ADDRESS base_;
    uint32_t size_;
    ADDRESS compare_;
    std::vector<uint32_t> order_, half_;
};

} // namespace

void lib_qsort(VM& vm, int64_t* a) {
    ADDRESS base = at(a[0]), compare = at(a[3]);
    uint32_t n = static_cast<uint32_t>(a[1]), size = static_cast<uint32_t>(a[2]);
    if (n < 2 || size == 0) return;
    if (uint64_t{n} * size >= MEMORY::limit) vm.mem.bad_write(base, 1);
    vm.mem.check_write(base, n * size);
    std::vector<uint32_t> from = SORTER(vm, base, n, size, compare).order();
    ADDRESS spare = vm.mem.alloc(size);
    if (spare == 0) trap("no memory for sorting");
    // Each cycle of the permutation is turned by one element, the first of which waits in `spare`.
    for (uint32_t first = 0; first < n; ++first) {
        if (from[first] == first) continue;
        vm.mem.copy(spare, base + first * size, size);
        uint32_t to = first;
        for (uint32_t next; (next = from[to]) != first; to = next) {
            vm.mem.copy(base + to * size, base + next * size, size);
            from[to] = to;
        }
        vm.mem.copy(base + to * size, spare, size);
        from[to] = to;
    }
    vm.mem.release(spare);
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
