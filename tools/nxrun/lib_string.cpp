// Library functions of string.h and ctype.h. A character is one unit; comparisons are of unsigned characters.
#include "exec.h"
#include "library.h"

#include <algorithm>

namespace {

ADDRESS at(int64_t slot) { return static_cast<ADDRESS>(slot); }
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

uint32_t length_within(MEMORY& m, ADDRESS text, uint32_t most) {
    uint32_t n = 0;
    while (n < most && m.read16(text + n) != 0) ++n;
    return n;
}

} // namespace

void lib_memcpy(VM& vm, int64_t* a) { vm.mem.copy(at(a[0]), at(a[1]), static_cast<uint32_t>(a[2])); }
void lib_memmove(VM& vm, int64_t* a) { vm.mem.copy(at(a[0]), at(a[1]), static_cast<uint32_t>(a[2])); }
void lib_memset(VM& vm, int64_t* a) {
    uint32_t n = static_cast<uint32_t>(a[2]);
    vm.mem.check_write(at(a[0]), n);
    std::fill_n(vm.mem.units + at(a[0]), n, unit(a[1]));
    if (n != 0) vm.mem.set_state(at(a[0]), n, UNIT_VALUE);
}
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
void lib_strcoll(VM& vm, int64_t* a) { lib_strcmp(vm, a); }
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
void lib_strtok(VM& vm, int64_t* a) {
    ADDRESS p = a[0] != 0 ? at(a[0]) : vm.strtok_next;
    a[0] = 0;
    if (p == 0) return;
    p += span(vm.mem, p, at(a[1]), true);
    if (vm.mem.read16(p) == 0) {
        vm.strtok_next = 0;
        return;
    }
    ADDRESS end = p + span(vm.mem, p, at(a[1]), false);
    vm.strtok_next = 0;
    if (vm.mem.read16(end) != 0) {
        vm.mem.write16(end, 0);
        vm.strtok_next = end + 1;
    }
    a[0] = p;
}
void lib_strdup(VM& vm, int64_t* a) {
    uint32_t n = vm.mem.text_length(at(a[0])) + 1;
    ADDRESS copy = vm.mem.alloc(n);
    if (copy != 0) vm.mem.copy(copy, at(a[0]), n);
    a[0] = copy;
}
void lib_strerror(VM& vm, int64_t* a) {
    std::string text = "error " + std::to_string(static_cast<int32_t>(a[0]));
    ADDRESS copy = vm.mem.alloc(text.size() + 1);
    for (size_t i = 0; copy != 0 && i <= text.size(); ++i)
        vm.mem.write16(copy + static_cast<ADDRESS>(i), i < text.size() ? static_cast<unsigned char>(text[i]) : 0);
    a[0] = copy;
}

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
