// Library functions of string.h and ctype.h. A character is one unit; comparisons are of unsigned characters.
#include "exec.h"
#include "library.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

ADDRESS at(int64_t slot) { return address_of(slot); }
uint16_t unit(int64_t slot) { return static_cast<uint16_t>(slot); }

// Copies a text with its end. Returns its length.
uint32_t copy_text(MEMORY& m, ADDRESS to, ADDRESS from) {
    uint32_t n = m.text_length(from);
    m.copy(to, from, n + 1);
    return n;
}

int compare_texts(MEMORY& m, ADDRESS a, ADDRESS b, uint32_t most) {
    for (; most != 0; --most, ++a, ++b) {
        uint16_t x = m.read16(a), y = m.read16(b);
        if (x != y) return x < y ? -1 : 1;
        if (x == 0) break;
    }
    return 0;
}

bool text_has(MEMORY& m, ADDRESS set, uint16_t c) {
    for (;; ++set) {
        uint16_t x = m.read16(set);
        if (x == 0) return false;
        if (x == c) return true;
    }
}

// Number of leading characters of `text` that are (or are not) in `set`.
uint32_t span(MEMORY& m, ADDRESS text, ADDRESS set, bool inside) {
    uint32_t n = 0;
    for (;; ++n) {
        uint16_t c = m.read16(text + n);
        if (c == 0 || text_has(m, set, c) != inside) return n;
    }
}

void fill(MEMORY& m, ADDRESS to, uint16_t c, uint32_t n) {
    m.check_write(to, n);
    std::fill_n(m.units + to, n, c);
    if (n != 0) m.set_state(to, n, UNIT_VALUE);
}

uint32_t length_within(MEMORY& m, ADDRESS text, uint32_t most) {
    uint32_t n = 0;
    while (n < most && m.read16(text + n) != 0) ++n;
    return n;
}

} // namespace

void lib_memmove(VM& vm, int64_t* a) { vm.mem.copy(at(a[0]), at(a[1]), static_cast<uint32_t>(a[2])); }
void lib_memset(VM& vm, int64_t* a) { fill(vm.mem, at(a[0]), unit(a[1]), static_cast<uint32_t>(a[2])); }
void lib_memcmp(VM& vm, int64_t* a) {
    int64_t result = 0;
    for (uint32_t i = 0; result == 0 && i < static_cast<uint32_t>(a[2]); ++i) {
        uint16_t x = vm.mem.read16(at(a[0]) + i), y = vm.mem.read16(at(a[1]) + i);
        if (x != y) result = x < y ? -1 : 1;
    }
    a[0] = result;
}
void lib_memchr(VM& vm, int64_t* a) {
    ADDRESS p = at(a[0]);
    for (uint32_t n = static_cast<uint32_t>(a[2]); n != 0; --n, ++p)
        if (vm.mem.read16(p) == unit(a[1])) {
            a[0] = p;
            return;
        }
    a[0] = 0;
}
void lib_strlen(VM& vm, int64_t* a) { a[0] = vm.mem.text_length(at(a[0])); }
void lib_strnlen(VM& vm, int64_t* a) { a[0] = length_within(vm.mem, at(a[0]), static_cast<uint32_t>(a[1])); }
void lib_strxfrm(VM& vm, int64_t* a) {
    uint32_t n = vm.mem.text_length(at(a[1]));
    if (n < static_cast<uint32_t>(a[2])) vm.mem.copy(at(a[0]), at(a[1]), n + 1);
    a[0] = n;
}
void lib_strcpy(VM& vm, int64_t* a) { copy_text(vm.mem, at(a[0]), at(a[1])); }
void lib_strncpy(VM& vm, int64_t* a) {
    uint32_t most = static_cast<uint32_t>(a[2]);
    uint32_t n = length_within(vm.mem, at(a[1]), most);
    vm.mem.copy(at(a[0]), at(a[1]), n);
    for (; n < most; ++n) vm.mem.write16(at(a[0]) + n, 0);
}
void lib_strcat(VM& vm, int64_t* a) { copy_text(vm.mem, at(a[0]) + vm.mem.text_length(at(a[0])), at(a[1])); }
void lib_strncat(VM& vm, int64_t* a) {
    ADDRESS end = at(a[0]) + vm.mem.text_length(at(a[0]));
    uint32_t n = length_within(vm.mem, at(a[1]), static_cast<uint32_t>(a[2]));
    vm.mem.copy(end, at(a[1]), n);
    vm.mem.write16(end + n, 0);
}
void lib_strcmp(VM& vm, int64_t* a) { a[0] = compare_texts(vm.mem, at(a[0]), at(a[1]), UINT32_MAX); }
void lib_strncmp(VM& vm, int64_t* a) { a[0] = compare_texts(vm.mem, at(a[0]), at(a[1]), static_cast<uint32_t>(a[2])); }
void lib_strchr(VM& vm, int64_t* a) {
    for (ADDRESS p = at(a[0]);; ++p) {
        uint16_t c = vm.mem.read16(p);
        if (c == unit(a[1]) || c == 0) {
            a[0] = c == unit(a[1]) ? p : 0;
            return;
        }
    }
}
void lib_strrchr(VM& vm, int64_t* a) {
    int64_t found = 0;
    for (ADDRESS p = at(a[0]);; ++p) {
        uint16_t c = vm.mem.read16(p);
        if (c == unit(a[1])) found = p;
        if (c == 0) break;
    }
    a[0] = found;
}
void lib_strstr(VM& vm, int64_t* a) {
    uint32_t n = vm.mem.text_length(at(a[1]));
    for (ADDRESS p = at(a[0]);; ++p) {
        if (compare_texts(vm.mem, p, at(a[1]), n) == 0) {
            a[0] = p;
            return;
        }
        if (vm.mem.read16(p) == 0) break;
    }
    a[0] = 0;
}
void lib_strspn(VM& vm, int64_t* a) { a[0] = span(vm.mem, at(a[0]), at(a[1]), true); }
void lib_strcspn(VM& vm, int64_t* a) { a[0] = span(vm.mem, at(a[0]), at(a[1]), false); }
void lib_strpbrk(VM& vm, int64_t* a) {
    ADDRESS p = at(a[0]) + span(vm.mem, at(a[0]), at(a[1]), false);
    a[0] = vm.mem.read16(p) != 0 ? p : 0;
}

namespace {

// The next word at or behind `p`, cut off by a 0; `next` is where the search goes on, 0 at the end.
ADDRESS next_word(MEMORY& m, ADDRESS p, ADDRESS set, ADDRESS& next) {
    next = 0;
    if (p == 0) return 0;
    p += span(m, p, set, true);
    if (m.read16(p) == 0) return 0;
    ADDRESS end = p + span(m, p, set, false);
    if (m.read16(end) != 0) {
        m.write16(end, 0);
        next = end + 1;
    }
    return p;
}

uint16_t lower(uint16_t c) { return c >= 'A' && c <= 'Z' ? static_cast<uint16_t>(c + 32) : c; }

int compare_letters(MEMORY& m, ADDRESS a, ADDRESS b, uint32_t most) {
    for (; most != 0; --most, ++a, ++b) {
        uint16_t x = lower(m.read16(a)), y = lower(m.read16(b));
        if (x != y) return x < y ? -1 : 1;
        if (x == 0) break;
    }
    return 0;
}

ADDRESS duplicate(VM& vm, ADDRESS from, uint32_t length) {
    ADDRESS copy = vm.mem.alloc(uint64_t{length} + 1);
    if (copy == 0) {
        set_errno(vm, ENOMEM);
        return 0;
    }
    vm.mem.copy(copy, from, length);
    vm.mem.write16(copy + length, 0);
    return copy;
}

} // namespace

void lib_strtok(VM& vm, int64_t* a) {
    ADDRESS& next = vm.library->strtok_next;
    a[0] = next_word(vm.mem, a[0] != 0 ? at(a[0]) : next, at(a[1]), next);
}
void lib_strtok_r(VM& vm, int64_t* a) {
    ADDRESS next = 0;
    ADDRESS word = next_word(vm.mem, a[0] != 0 ? at(a[0]) : vm.mem.read32(at(a[2])), at(a[1]), next);
    vm.mem.write_n(at(a[2]), next, 2);
    a[0] = word;
}
void lib_strsep(VM& vm, int64_t* a) {
    ADDRESS begin = vm.mem.read32(at(a[0])), next = 0;
    if (begin != 0) {
        ADDRESS end = begin + span(vm.mem, begin, at(a[1]), false);
        if (vm.mem.read16(end) != 0) {
            vm.mem.write16(end, 0);
            next = end + 1;
        }
    }
    vm.mem.write_n(at(a[0]), next, 2);
    a[0] = begin;
}
void lib_strdup(VM& vm, int64_t* a) { a[0] = duplicate(vm, at(a[0]), vm.mem.text_length(at(a[0]))); }
void lib_strndup(VM& vm, int64_t* a) {
    a[0] = duplicate(vm, at(a[0]), length_within(vm.mem, at(a[0]), static_cast<uint32_t>(a[1])));
}
void lib_stpcpy(VM& vm, int64_t* a) { a[0] = at(a[0]) + copy_text(vm.mem, at(a[0]), at(a[1])); }
void lib_stpncpy(VM& vm, int64_t* a) {
    uint32_t n = length_within(vm.mem, at(a[1]), static_cast<uint32_t>(a[2]));
    lib_strncpy(vm, a);
    a[0] = at(a[0]) + n;
}
void lib_mempcpy(VM& vm, int64_t* a) {
    lib_memmove(vm, a);
    a[0] = at(a[0]) + static_cast<uint32_t>(a[2]);
}
void lib_memccpy(VM& vm, int64_t* a) {
    uint32_t n = static_cast<uint32_t>(a[3]), i = 0;
    while (i < n && vm.mem.read16(at(a[1]) + i) != unit(a[2])) ++i;
    bool found = i < n;
    vm.mem.copy(at(a[0]), at(a[1]), found ? i + 1 : n);
    a[0] = found ? at(a[0]) + i + 1 : 0;
}
void lib_strcasecmp(VM& vm, int64_t* a) { a[0] = compare_letters(vm.mem, at(a[0]), at(a[1]), UINT32_MAX); }
void lib_strncasecmp(VM& vm, int64_t* a) {
    a[0] = compare_letters(vm.mem, at(a[0]), at(a[1]), static_cast<uint32_t>(a[2]));
}
void lib_bcopy(VM& vm, int64_t* a) { vm.mem.copy(at(a[1]), at(a[0]), static_cast<uint32_t>(a[2])); }
void lib_bzero(VM& vm, int64_t* a) { fill(vm.mem, at(a[0]), 0, static_cast<uint32_t>(a[1])); }
void lib_ffs(VM&, int64_t* a) { a[0] = __builtin_ffs(static_cast<int>(a[0])); }
void lib_strerror(VM& vm, int64_t* a) { a[0] = vm.library->text(strerror(static_cast<int>(a[0]))); }

// ------------------------------------------------------------------------------------------------------------- ctype

namespace {

bool is_upper(int64_t c) { return c >= 'A' && c <= 'Z'; }
bool is_lower(int64_t c) { return c >= 'a' && c <= 'z'; }
bool is_digit(int64_t c) { return c >= '0' && c <= '9'; }
bool is_alpha(int64_t c) { return is_upper(c) || is_lower(c); }
bool is_alnum(int64_t c) { return is_alpha(c) || is_digit(c); }
bool is_graph(int64_t c) { return c > ' ' && c < 127; }

} // namespace

void lib_isupper(VM&, int64_t* a) { a[0] = is_upper(a[0]); }
void lib_islower(VM&, int64_t* a) { a[0] = is_lower(a[0]); }
void lib_isdigit(VM&, int64_t* a) { a[0] = is_digit(a[0]); }
void lib_isalpha(VM&, int64_t* a) { a[0] = is_alpha(a[0]); }
void lib_isalnum(VM&, int64_t* a) { a[0] = is_alnum(a[0]); }
void lib_isgraph(VM&, int64_t* a) { a[0] = is_graph(a[0]); }
void lib_isprint(VM&, int64_t* a) { a[0] = is_graph(a[0]) || a[0] == ' '; }
void lib_ispunct(VM&, int64_t* a) { a[0] = is_graph(a[0]) && !is_alnum(a[0]); }
void lib_isspace(VM&, int64_t* a) { a[0] = a[0] == ' ' || (a[0] >= '\t' && a[0] <= '\r'); }
void lib_isblank(VM&, int64_t* a) { a[0] = a[0] == ' ' || a[0] == '\t'; }
void lib_iscntrl(VM&, int64_t* a) { a[0] = (a[0] >= 0 && a[0] < ' ') || a[0] == 127; }
void lib_isxdigit(VM&, int64_t* a) {
    a[0] = is_digit(a[0]) || (a[0] >= 'a' && a[0] <= 'f') || (a[0] >= 'A' && a[0] <= 'F');
}
void lib_tolower(VM&, int64_t* a) {
    if (is_upper(a[0])) a[0] += 'a' - 'A';
}
void lib_toupper(VM&, int64_t* a) {
    if (is_lower(a[0])) a[0] -= 'a' - 'A';
}
void lib_isascii(VM&, int64_t* a) { a[0] = a[0] >= 0 && a[0] < 128; }
void lib_toascii(VM&, int64_t* a) { a[0] &= 127; }
